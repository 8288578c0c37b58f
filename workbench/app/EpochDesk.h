#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>

class QMenu;
class QWidget;

namespace inspection {
class AddEpochDialog;
class ImportDialog;
} // namespace inspection

/// The ways of files into the open project: further epochs, and special objects. Tells the user what does not work. GUI
/// thread.
class EpochDesk : public QObject {
    Q_OBJECT

public:
    /// `window` must outlive it.
    explicit EpochDesk(QWidget& window) : m_window(window) {}

    /// Lets the user add an epoch, of these files to begin with.
    void add(const QStringList& files = {});
    void remove();
    /// Lets the user bring special objects in, out of these files to begin with.
    void import(const QStringList& files = {});
    /// Takes files that were dropped while one of its dialogs is open; false while none is.
    bool takeDropped(const QStringList& rasters, const QStringList& vectors);
    void fillMenu(QMenu& menu);

signals:
    /// One of its dialogs got these.
    void dropped(const QStringList& files);

private:
    /// Says why when nothing can be stored in the open project.
    bool isWritable();
    void removeWithVerdicts(const QString& key, const QString& problem);
    void tell(const QString& text, int type);

    QWidget& m_window;
    QPointer<inspection::AddEpochDialog> m_adding;
    QPointer<inspection::ImportDialog> m_importing;
};
