#include "workbench/inspection/settings/DetectionFields.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>

namespace inspection {

namespace {

using detect::MethodParameter;
using detect::NumberParameter;
using detect::ParameterField;
using detect::SwitchParameter;

QDoubleSpinBox* makeBox(const ParameterField& field, const NumberParameter& number) {
    auto* box = new QDoubleSpinBox;
    box->setDecimals(number.decimals);
    // A number that may lack has one step more below, which says so.
    box->setRange(number.without ? number.least - number.step : number.least, number.most);
    box->setSingleStep(number.step);
    box->setSuffix(*field.unit ? QStringLiteral(" ") + field.unit : QString());
    box->setSpecialValueText(number.without ? QString::fromUtf8(number.without) : QString());
    box->setAlignment(Qt::AlignRight);
    return box;
}

QComboBox* makeMethods() {
    auto* box = new QComboBox;
    for (const detect::MethodTitle& method : detect::methodTitles()) {
        box->addItem(QString::fromUtf8(method.title), static_cast<int>(method.method));
    }
    return box;
}

/// Shows a parameter in its editor.
struct Showing {
    QWidget& editor;
    const detect::Parameters& parameters;

    void operator()(const NumberParameter& number) const {
        auto& box = static_cast<QDoubleSpinBox&>(editor);
        box.setValue(number.value(parameters).value_or(box.minimum()));
    }
    void operator()(const SwitchParameter& choice) const {
        static_cast<QCheckBox&>(editor).setChecked(choice.value(parameters));
    }
    void operator()(const MethodParameter& /*method*/) const {
        auto& box = static_cast<QComboBox&>(editor);
        box.setCurrentIndex(box.findData(static_cast<int>(parameters.coregistration)));
    }
};

/// Takes a parameter from its editor.
struct Taking {
    QWidget& editor;
    detect::Parameters& parameters;

    void operator()(const NumberParameter& number) const {
        const double value = static_cast<QDoubleSpinBox&>(editor).value();
        const bool isGiven = !number.without || number.isWithin(value);
        number.set(parameters, isGiven ? std::optional(value) : std::nullopt);
    }
    void operator()(const SwitchParameter& choice) const {
        choice.of(parameters) = static_cast<QCheckBox&>(editor).isChecked();
    }
    void operator()(const MethodParameter& /*method*/) const {
        parameters.coregistration =
            static_cast<detect::CoregistrationMethod>(static_cast<QComboBox&>(editor).currentData().toInt());
    }
};

} // namespace

QWidget* DetectionFields::makeEditor(const ParameterField& field) {
    QWidget* editor = nullptr;
    if (const auto* number = std::get_if<NumberParameter>(&field.kind)) {
        auto* box = makeBox(field, *number);
        connect(box, &QDoubleSpinBox::valueChanged, this, &DetectionFields::enableDependent);
        editor = box;
    } else if (std::holds_alternative<SwitchParameter>(field.kind)) {
        editor = new QCheckBox(QString::fromUtf8(field.label));
    } else {
        auto* box = makeMethods();
        connect(box, &QComboBox::currentIndexChanged, this, &DetectionFields::enableDependent);
        editor = box;
    }
    editor->setObjectName(field.name);
    editor->setToolTip(QString::fromUtf8(field.hint));
    return editor;
}

void DetectionFields::addTo(QFormLayout& form, bool advanced) {
    for (const ParameterField& field : detect::parameterFields()) {
        if (field.isAdvanced != advanced) {
            continue;
        }
        QWidget* editor = m_editors[field.name] = makeEditor(field);
        const bool isNamed = std::holds_alternative<SwitchParameter>(field.kind); // names itself
        form.addRow(isNamed ? QString() : QString::fromUtf8(field.label), editor);
    }
    enableDependent();
}

void DetectionFields::show(const detect::Parameters& parameters) {
    for (const ParameterField& field : detect::parameterFields()) {
        std::visit(Showing{editor(field.name), parameters}, field.kind);
    }
    enableDependent();
}

detect::Parameters DetectionFields::entered() const {
    detect::Parameters parameters;
    for (const ParameterField& field : detect::parameterFields()) {
        QWidget& box = editor(field.name);
        if (box.isEnabledTo(box.parentWidget())) {
            std::visit(Taking{box, parameters}, field.kind);
        }
    }
    detect::completeSigmas(parameters);
    return parameters;
}

QWidget& DetectionFields::editor(const std::string& name) const {
    return *m_editors.at(name);
}

void DetectionFields::enableDependent() {
    if (m_editors.size() < detect::parameterFields().size()) {
        return; // still being made
    }
    const auto& method = static_cast<const QComboBox&>(editor("coregister"));
    const bool isFull = method.currentData().toInt() == static_cast<int>(detect::CoregistrationMethod::Full);
    editor("tilt").setEnabled(isFull);
    const auto& confidence = static_cast<const QDoubleSpinBox&>(editor("confidence"));
    const bool isSignificanceAsked = confidence.value() > confidence.minimum();
    for (const char* sigma : {"sigma_old_m", "sigma_new_m"}) {
        editor(sigma).setEnabled(isSignificanceAsked);
    }
}

} // namespace inspection
