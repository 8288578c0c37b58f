#pragma once

#include "host/engine/CommandPlugin.h"
#include "host/viewmanager/CXCommandHandler.h"

/// Redoes the edit that was undone last.
class CRedo : public zeo::CommandPlugin, public CXCommandHandler {
    Q_OBJECT

public:
    CRedo();

    void Execute() override;
    void createselfUI(QWidget* parent, QHBoxLayout* layout) override;

public slots:
    /// Something may have become redoable; the text is not used.
    void OnSetCom(QString text);

private:
    void refreshButton();
};
