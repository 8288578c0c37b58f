#pragma once

#include "host/engine/CommandPlugin.h"
#include "host/viewmanager/CXCommandHandler.h"

#include <QList>

#include <memory>

class QAction;
class QMenu;

/// Undoes edits: one by its button, several by the drop-down menu of the edits' descriptions.
///
/// The menu shows the newest entry on top, then a separator and a cancel entry that tells how many edits the
/// hovered entry would undo. The edits themselves belong to the inspection data library, whose AVWindow
/// reports each new one with msg_undo.
class CUndo : public zeo::CommandPlugin, public CXCommandHandler {
    Q_OBJECT

public:
    CUndo();
    ~CUndo() override;

    void Execute() override;
    void createselfUI(QWidget* parent, QHBoxLayout* layout) override;

public slots:
    /// A new undoable edit; an empty text only refreshes the button.
    void OnSetCom(QString text);
    /// The user chose an entry.
    void OnUndoto(QAction* action);
    /// The pointer is over an entry.
    void OnLighted(QAction* action);

private:
    /// How many edits the entry stands for; 0 for the cancel entry.
    int stepsOf(const QAction* action) const;
    void addEntry(const QString& text);
    void removeNewestEntry();
    void clearMenu();
    void refreshButton();

    std::unique_ptr<QMenu> m_historyMenu;
    QList<QAction*> m_entries; ///< oldest first; the data of an entry is its sequence number
    int m_entryCount = 0;      ///< sequence number of the newest entry
    QAction* m_cancelEntry = nullptr;
};
