#include "detect/output/ParameterTable.h"

#include <algorithm>
#include <stdexcept>

namespace detect {

namespace {

using Number = std::optional<double>;

Significance& significanceOf(Parameters& parameters) {
    return parameters.significance ? *parameters.significance : parameters.significance.emplace();
}

template<Number Significance::* Sigma>
Number sigmaIn(const Parameters& parameters) {
    return parameters.significance ? (*parameters.significance).*Sigma : std::nullopt;
}

template<Number Significance::* Sigma>
void setSigma(Parameters& parameters, Number metres) {
    if (metres || parameters.significance) {
        significanceOf(parameters).*Sigma = metres;
    }
}

template<double Parameters::* Member>
Number plain(const Parameters& parameters) {
    return parameters.*Member;
}

template<double Parameters::* Member>
void setPlain(Parameters& parameters, Number number) {
    parameters.*Member = number.value_or(Parameters().*Member);
}

Number confidenceOf(const Parameters& parameters) {
    return parameters.significance ? Number(parameters.significance->confidence) : std::nullopt;
}

/// Without a confidence nothing is asked of significance.
void setConfidence(Parameters& parameters, Number confidence) {
    if (confidence) {
        significanceOf(parameters).confidence = *confidence;
    } else {
        parameters.significance.reset();
    }
}

SwitchParameter tilt() {
    return {[](Parameters& p) -> bool& { return p.tilt; }};
}

std::vector<ParameterField> limits() {
    return {{"threshold_m", "--threshold", "变化阈值", "m", "高程变化达到该值才算异常", false,
             NumberParameter{0.001, 1000.0, 0.1, 3, nullptr, plain<&Parameters::thresholdMetres>,
                             setPlain<&Parameters::thresholdMetres>}},
            {"min_area_m2", "--min-area", "最小面积", "m²", "面积小于该值的变化不计入", false,
             NumberParameter{0.0, 1e9, 1.0, 2, nullptr, plain<&Parameters::minAreaSquareMetres>,
                             setPlain<&Parameters::minAreaSquareMetres>}},
            {"coregister", "--coregister", "配准方式", "", "比较之前如何使新一期对准旧一期", false,
             MethodParameter{}}};
}

// The confidence comes before the standard deviations, which mean nothing without one.
std::vector<ParameterField> uncertainties() {
    constexpr auto kFromGround = "由稳定地面估计";
    return {
        {"tilt", "--tilt", "同时改正倾斜面", "", "仅用于完整配准；自动配准和局部改正自行判断", true, tilt()},
        {"confidence", "--confidence", "显著性置信度", "",
         "变化除达到阈值外，还须在该置信度下超出两期高程的不确定度", true,
         NumberParameter{0.5, 0.9999, 0.01, 4, "不判断", confidenceOf, setConfidence}},
        {"sigma_old_m", "--sigma", "前期高程标准差", "m", "只在给出置信度时使用", true,
         NumberParameter{0.001, 10.0, 0.01, 3, kFromGround, sigmaIn<&Significance::oldSigmaMetres>,
                         setSigma<&Significance::oldSigmaMetres>}},
        {"sigma_new_m", "--sigma", "后期高程标准差", "m", "只在给出置信度时使用", true,
         NumberParameter{0.001, 10.0, 0.01, 3, kFromGround, sigmaIn<&Significance::newSigmaMetres>,
                         setSigma<&Significance::newSigmaMetres>}}};
}

std::vector<ParameterField> shapes() {
    return {{"grow_ratio", "--grow-ratio", "生长比例", "", "异常从达到阈值处向外生长到阈值的这一比例", true,
             NumberParameter{0.1, 1.0, 0.05, 2, nullptr, plain<&Parameters::growRatio>,
                             setPlain<&Parameters::growRatio>}},
            {"core", "--rules", "剔除零散像元", "", "异常须含 3×3 像元", true,
             SwitchParameter{[](Parameters& p) -> bool& { return p.rules.core; }}},
            {"sliver", "--rules", "剔除陡坎窄条", "", "陡坎边上平移一个像元即可解释的窄条不计入", true,
             SwitchParameter{[](Parameters& p) -> bool& { return p.rules.sliver; }}},
            {"speckle", "--rules", "剔除植被碎斑", "", "窄小且高差杂乱的碎斑不计入", true,
             SwitchParameter{[](Parameters& p) -> bool& { return p.rules.speckle; }}},
            {"restless", "--rules", "剔除纷乱地面", "", "植被、水面等处的变化须明显超出那里高差的离散", true,
             SwitchParameter{[](Parameters& p) -> bool& { return p.rules.restless; }}},
            {"split_bodies", "--no-split", "拆分相连的异常", "", "明显由几个体组成的变化分为几处异常", true,
             SwitchParameter{[](Parameters& p) -> bool& { return p.splitBodies; }}},
            {"simplify_outlines", "--cell-outlines", "简化轮廓", "", "轮廓不带像元的台阶", true,
             SwitchParameter{[](Parameters& p) -> bool& { return p.simplifyOutlines; }}}};
}

bool isSame(const ParameterField& field, const Parameters& a, const Parameters& b) {
    if (const auto* number = std::get_if<NumberParameter>(&field.kind)) {
        return number->value(a) == number->value(b);
    }
    if (const auto* choice = std::get_if<SwitchParameter>(&field.kind)) {
        return choice->value(a) == choice->value(b);
    }
    return a.coregistration == b.coregistration;
}

} // namespace

const std::vector<ParameterField>& parameterFields() {
    static const std::vector<ParameterField> fields = [] {
        std::vector<ParameterField> all;
        for (const auto part : {limits, uncertainties, shapes}) {
            const auto some = part();
            all.insert(all.end(), some.begin(), some.end());
        }
        return all;
    }();
    return fields;
}

const ParameterField& parameterField(const std::string& name) {
    const auto& fields = parameterFields();
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [&name](const ParameterField& field) { return name == field.name; });
    if (found == fields.end()) {
        throw std::logic_error("detection has no parameter " + name);
    }
    return *found;
}

const std::vector<MethodTitle>& methodTitles() {
    using Method = CoregistrationMethod;
    static const std::vector<MethodTitle> titles{{Method::Auto, "auto", "自动"},
                                                 {Method::None, "none", "无"},
                                                 {Method::Bias, "bias", "垂直偏差"},
                                                 {Method::Full, "full", "完整配准"},
                                                 {Method::Local, "local", "局部改正"}};
    return titles;
}

bool haveSameFields(const Parameters& a, const Parameters& b) {
    const auto& fields = parameterFields();
    return std::all_of(fields.begin(), fields.end(),
                       [&](const ParameterField& field) { return isSame(field, a, b); });
}

void completeSigmas(Parameters& parameters) {
    if (parameters.significance) {
        Significance& both = *parameters.significance;
        both.oldSigmaMetres = both.oldSigmaMetres ? both.oldSigmaMetres : both.newSigmaMetres;
        both.newSigmaMetres = both.newSigmaMetres ? both.newSigmaMetres : both.oldSigmaMetres;
    }
}

} // namespace detect
