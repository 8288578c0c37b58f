#pragma once

#include "detect/Detection.h"

#include <optional>
#include <string>
#include <variant>
#include <vector>

/// The parameters of detection as users meet them, declared once: for the window, the command, project.json, pieces
/// and summaries. Texts are Chinese, UTF-8.
namespace detect {

/// A number; one that may lack tells what happens then.
struct NumberParameter {
    double least = 0.0;
    double most = 0.0;
    double step = 0.0; ///< of the window's arrows
    int decimals = 0;
    const char* without = nullptr; ///< null where the number is needed
    std::optional<double> (*value)(const Parameters&) = nullptr;
    void (*set)(Parameters&, std::optional<double>) = nullptr;

    bool isWithin(double number) const { return number >= least && number <= most; } // false for NaN
};

/// Something that is done or not.
struct SwitchParameter {
    bool& (*of)(Parameters&) = nullptr;

    bool value(const Parameters& parameters) const { return of(const_cast<Parameters&>(parameters)); }
};

/// The method of co-registration.
struct MethodParameter {};

struct ParameterField {
    const char* name; ///< in JSON
    const char*
        option; ///< of `corridor detect`, also of several fields together; a switch's alone turns its default
    const char* label;
    const char* unit; ///< "" for none
    const char* hint; ///< one line
    bool isAdvanced;
    std::variant<NumberParameter, SwitchParameter, MethodParameter> kind;
};

/// In the order of the window.
const std::vector<ParameterField>& parameterFields();
/// The field of that name, which must be one.
const ParameterField& parameterField(const std::string& name);

struct MethodTitle {
    CoregistrationMethod method;
    const char* name;  ///< in JSON and for the command
    const char* title; ///< in the window
};
/// Auto first.
const std::vector<MethodTitle>& methodTitles();

/// True when every field has the same value. Masks, threads and blocks are none of the fields.
bool haveSameFields(const Parameters& a, const Parameters& b);
/// The standard deviations of both epochs are known or none is: one that lacks is that of the other.
void completeSigmas(Parameters& parameters);

} // namespace detect
