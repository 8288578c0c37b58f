#pragma once

#include "detect/output/ParameterTable.h"

#include <QObject>
#include <QString>

#include <map>

class QFormLayout;
class QWidget;

namespace inspection {

/// Rows of a form in which the parameters of detection are set, one for each of parameterFields(). Each editor is
/// called as its field is in JSON. GUI thread.
class DetectionFields : public QObject {
    Q_OBJECT

public:
    explicit DetectionFields(QObject* parent = nullptr) : QObject(parent) {}

    /// Adds the rows of the common or of the advanced parameters; the form owns the editors.
    void addTo(QFormLayout& form, bool advanced);

    void show(const detect::Parameters& parameters);
    detect::Parameters entered() const;
    /// The editor of that name, which must be one that was added.
    QWidget& editor(const std::string& name) const;

private:
    QWidget* makeEditor(const detect::ParameterField& field);
    /// Those that the others make meaningless cannot be set.
    void enableDependent();

    std::map<std::string, QWidget*> m_editors;
};

} // namespace inspection
