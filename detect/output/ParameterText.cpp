#include "detect/output/ParameterText.h"

#include "detect/output/ParameterTable.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

template<class Holder>
struct Figure {
    const char* name;
    double Holder::* value;
};

constexpr Figure<Coregistration> kFigures[] = {
    {"dx_m", &Coregistration::dxMetres},
    {"dy_m", &Coregistration::dyMetres},
    {"dz_m", &Coregistration::dzMetres},
    {"tilt_east", &Coregistration::tiltEast},
    {"tilt_north", &Coregistration::tiltNorth},
    {"dx_cells", &Coregistration::dxCells},
    {"dy_cells", &Coregistration::dyCells},
    {"nmad_before_m", &Coregistration::nmadBeforeMetres},
    {"nmad_after_m", &Coregistration::nmadAfterMetres},
    {"stable_share", &Coregistration::stableShare},
    {"sigma_m", &Coregistration::sigmaMetres},
    {"sigma_slope_m", &Coregistration::sigmaPerSlopeMetres},
    {"correlated_cells", &Coregistration::correlatedCells},
};

constexpr Figure<LocalCorrection> kLocalFigures[] = {
    {"shortest_wavelength_m", &LocalCorrection::shortestWavelengthMetres},
    {"largest_m", &LocalCorrection::largestMetres},
    {"sigma_m", &LocalCorrection::sigmaMetres},
    {"exceeding_share", &LocalCorrection::exceedingShare},
    {"left_out_share", &LocalCorrection::leftOutShare},
};

struct Adding {
    const Parameters& parameters;
    const char* name;
    CPLJSONObject& object;

    void operator()(const NumberParameter& number) const {
        if (const auto value = number.value(parameters)) {
            object.Add(name, *value);
        }
    }
    void operator()(const SwitchParameter& choice) const { object.Add(name, choice.value(parameters)); }
    void operator()(const MethodParameter& /*method*/) const {
        object.Add(name, methodName(parameters.coregistration));
    }
};

/// False for what cannot be.
struct Taking {
    const CPLJSONObject& object;
    const char* name;
    Parameters& parameters;

    bool operator()(const NumberParameter& number) const {
        const CPLJSONObject value = object.GetObj(name);
        number.set(parameters, value.IsValid() ? std::optional(value.ToDouble()) : std::nullopt);
        return !value.IsValid() || std::isfinite(value.ToDouble());
    }
    bool operator()(const SwitchParameter& choice) const {
        choice.of(parameters) = object.GetBool(name);
        return true;
    }
    bool operator()(const MethodParameter& /*method*/) const {
        const auto method = methodNamed(object.GetString(name));
        parameters.coregistration = method.value_or(parameters.coregistration);
        return method.has_value();
    }
};

void addMasks(const Parameters& parameters, CPLJSONObject& object) {
    if (!parameters.unstableMask.empty()) {
        object.Add("unstable", parameters.unstableMask);
    }
    if (!parameters.ignoreMask.empty()) {
        object.Add("ignore", parameters.ignoreMask);
    }
}

} // namespace

const char* methodName(CoregistrationMethod method) {
    const auto& titles = methodTitles();
    return std::find_if(titles.begin(), titles.end(),
                        [method](const auto& each) { return each.method == method; })
        ->name;
}

std::optional<CoregistrationMethod> methodNamed(const std::string& name) {
    for (const MethodTitle& each : methodTitles()) {
        if (name == each.name) {
            return each.method;
        }
    }
    return std::nullopt;
}

CPLJSONObject describe(const Coregistration& coregistration) {
    CPLJSONObject object;
    object.Add("method", methodName(coregistration.method));
    if (!coregistration.refusal.empty()) {
        object.Add("refusal", coregistration.refusal);
    }
    if (!coregistration.reason.empty()) {
        object.Add("reason", coregistration.reason);
    }
    for (const auto& figure : kFigures) {
        object.Add(figure.name, coregistration.*figure.value);
    }
    if (coregistration.method == CoregistrationMethod::Local) {
        CPLJSONObject local;
        for (const auto& figure : kLocalFigures) {
            local.Add(figure.name, coregistration.local.*figure.value);
        }
        object.Add("local", local);
    }
    object.Add("iterations", coregistration.iterations);
    return object;
}

bool parse(const CPLJSONObject& object, Coregistration& coregistration) {
    const auto method = methodNamed(object.GetString("method"));
    if (!method) {
        return false;
    }
    coregistration.method = *method;
    for (const auto& figure : kFigures) {
        coregistration.*figure.value = object.GetDouble(figure.name);
    }
    if (const CPLJSONObject local = object.GetObj("local"); local.IsValid()) {
        for (const auto& figure : kLocalFigures) {
            coregistration.local.*figure.value = local.GetDouble(figure.name);
        }
    }
    coregistration.reason = object.GetString("reason");
    coregistration.iterations = object.GetInteger("iterations");
    coregistration.refusal = object.GetString("refusal");
    return true;
}

void addParameters(const Parameters& parameters, CPLJSONObject& object) {
    for (const ParameterField& field : parameterFields()) {
        std::visit(Adding{parameters, field.name, object}, field.kind);
    }
    addMasks(parameters, object);
}

bool takeParameters(const CPLJSONObject& object, Parameters& parameters) {
    bool isGood = true;
    for (const ParameterField& field : parameterFields()) {
        isGood = std::visit(Taking{object, field.name, parameters}, field.kind) && isGood;
    }
    parameters.unstableMask = object.GetString("unstable");
    parameters.ignoreMask = object.GetString("ignore");
    return isGood;
}

} // namespace detect
