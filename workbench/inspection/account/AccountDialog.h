#pragma once

#include "host/style/BaseDialog.h"
#include "workbench/inspectiondata/database/DetectionAccount.h"

class QFormLayout;
class QVBoxLayout;

namespace inspection {

/// Shows what the latest computation of a pair did: the co-registration with its reasons, how stable ground spreads,
/// what the rules turned away, and the local field. GUI thread.
class AccountDialog : public BaseDialog {
    Q_OBJECT

public:
    AccountDialog(const ProjectDescription& project, const DetectionAccount& account, QWidget* parent);
    ~AccountDialog() override;

private:
    void addDoubt(QVBoxLayout& column, const DetectionAccount& account);
    void addFigures(QFormLayout& form, const DetectionAccount& account);
    void addRejections(QFormLayout& form, const detect::Rejections& rejections);
    void addCorrection(QVBoxLayout& column, const ProjectDescription& project,
                       const DetectionAccount& account);
};

} // namespace inspection
