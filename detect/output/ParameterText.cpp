#include "detect/output/ParameterText.h"

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

} // namespace

const char* methodName(CoregistrationMethod method) {
    switch (method) {
    case CoregistrationMethod::None:
        return "none";
    case CoregistrationMethod::Bias:
        return "bias";
    case CoregistrationMethod::Local:
        return "local";
    case CoregistrationMethod::Auto:
        return "auto";
    case CoregistrationMethod::Full:
        break;
    }
    return "full";
}

std::optional<CoregistrationMethod> methodNamed(const std::string& name) {
    using Method = CoregistrationMethod;
    for (const Method method : {Method::None, Method::Bias, Method::Full, Method::Local, Method::Auto}) {
        if (name == methodName(method)) {
            return method;
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

void addMasks(const Parameters& parameters, CPLJSONObject& object) {
    if (!parameters.unstableMask.empty()) {
        object.Add("unstable", parameters.unstableMask);
    }
    if (!parameters.ignoreMask.empty()) {
        object.Add("ignore", parameters.ignoreMask);
    }
}

void addSignificance(const std::optional<Significance>& significance, CPLJSONObject& object) {
    if (!significance) {
        return;
    }
    object.Add("confidence", significance->confidence);
    if (significance->oldSigmaMetres) {
        object.Add("sigma_old_m", *significance->oldSigmaMetres);
        object.Add("sigma_new_m", *significance->newSigmaMetres);
    }
}

} // namespace detect
