#include "workbench/inspectiondata/output/ReportFacts.h"

#include "detect/output/ParameterText.h"
#include "host/Gbk.h"
#include "workbench/inspectiondata/text/AnomalyFields.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"
#include "workbench/inspectiondata/text/CoregistrationText.h"

#include <QDateTime>

#include <algorithm>

namespace inspection {

namespace {

// What lies within them counts in the summary.
constexpr int kNearMetres = 5;
constexpr int kCorridorMetres = 50;

QString fixed(double value, int decimals) {
    return QString::number(value, 'f', decimals);
}

QString signedMetres(double value) {
    return (value > 0.0 ? QStringLiteral("+") : QString()) + fixed(value, 2);
}

/// What a row of the table of anomalies tells of.
struct Told {
    const SdiffData& anomaly;
    const std::optional<PipePosition>& position;
    const Surroundings& surroundings;
};

struct TableColumn {
    ReportColumn head;
    QString (*text)(const Told& told);
};

/// In the order of ReportFacts::Column.
const std::vector<TableColumn>& tableColumns() {
    static const std::vector<TableColumn> columns{
        {{QStringLiteral("编号"), 15.0, false},
         [](const Told& told) { return QString::fromStdString(told.anomaly.name); }},
        {{QStringLiteral("里程"), 12.5, false},
         [](const Told& told) {
             return told.position ? chainageText(told.position->chainageMetres) : QStringLiteral("–");
         }},
        {{kPipeDistanceTitle.inLine(), 12.5, true},
         [](const Told& told) {
             const auto& metres = told.surroundings.pipeMetres;
             return metres ? pipeDistanceText(*metres) : QString();
         }},
        {{QStringLiteral("经度 °"), 17.0, true},
         [](const Told& told) { return fixed(told.anomaly.lonDegrees, 6); }},
        {{QStringLiteral("纬度 °"), 15.5, true},
         [](const Told& told) { return fixed(told.anomaly.latDegrees, 6); }},
        {{QStringLiteral("填/挖"), 8.5, false},
         [](const Told& told) { return told.anomaly.isFill ? QStringLiteral("填") : QStringLiteral("挖"); }},
        {{kAreaTitle.inLine(), 12.5, true},
         [](const Told& told) { return fixed(told.anomaly.areaSquareMetres, 1); }},
        {{kVolumeTitle.inLine(), 18.0, true},
         [](const Told& told) {
             return told.anomaly.volumeSigmaCubicMetres ? volumeText(told.anomaly)
                                                        : fixed(told.anomaly.volumeCubicMetres(), 1);
         }},
        {{kMeanDifferenceTitle.inLine(), 13.5, true},
         [](const Told& told) { return signedMetres(told.anomaly.dzMeanMetres); }},
        {{QStringLiteral("极值dZ m"), 13.5, true},
         [](const Told& told) { return signedMetres(largestDifferenceMetres(told.anomaly)); }},
        {{kSuggestedTitle, 13.0, false}, [](const Told& told) { return fromGbk(told.anomaly.suggested); }},
        {{QStringLiteral("核查结论"), 13.5, false},
         [](const Told& told) {
             return told.anomaly.attribute.empty() ? QStringLiteral("待核查")
                                                   : fromGbk(told.anomaly.attribute);
         }},
        {{kHighConsequenceAreasTitle, 17.0, false},
         [](const Told& told) { return areaNamesText(told.surroundings.highConsequenceAreas); }}};
    return columns;
}

QStringList tableRow(const Told& told) {
    QStringList row;
    for (const TableColumn& column : tableColumns()) {
        row << column.text(told);
    }
    return row;
}

AnomalyFacts factsOf(const StationFindings& findings, const SdiffData& anomaly,
                     const std::optional<PipePosition>& position, Surroundings surroundings) {
    AnomalyFacts facts;
    facts.findings = &findings;
    facts.anomaly = &anomaly;
    facts.name = fromGbk(anomaly.name);
    facts.judged = !anomaly.attribute.empty();
    facts.className = fromGbk(facts.judged ? anomaly.attribute : anomaly.suggested);
    facts.row = tableRow({anomaly, position, surroundings});
    facts.surroundings = std::move(surroundings);
    return facts;
}

std::vector<AnomalyFacts> anomaliesOf(const InspectionData& data, const Pipeline& pipeline) {
    std::vector<std::pair<double, AnomalyFacts>> placed;
    CorridorSurroundings corridor(pipeline, data.highConsequenceAreas);
    for (const StationFindings& findings : data.stations) {
        const auto surroundings = corridor.around(findings.station);
        for (const SdiffData& anomaly : findings.anomalies) {
            const auto position = pipeline.positionOf({anomaly.x, anomaly.y});
            placed.emplace_back(position ? position->chainageMetres : 0.0,
                                factsOf(findings, anomaly, position, surroundings->of(anomaly)));
        }
    }
    std::stable_sort(placed.begin(), placed.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<AnomalyFacts> facts;
    facts.reserve(placed.size());
    for (auto& [chainage, anomaly] : placed) {
        facts.push_back(std::move(anomaly));
    }
    return facts;
}

std::vector<ClassTotal> classesOf(const std::vector<AnomalyFacts>& anomalies) {
    std::vector<ClassTotal> totals;
    for (const AnomalyFacts& facts : anomalies) {
        auto total = std::find_if(totals.begin(), totals.end(),
                                  [&](const ClassTotal& other) { return other.name == facts.className; });
        if (total == totals.end()) {
            total = totals.insert(totals.end(), {facts.className});
        }
        ++total->count;
        total->judged += facts.judged ? 1 : 0;
        total->areaSquareMetres += facts.anomaly->areaSquareMetres;
        total->fillCubicMetres += facts.anomaly->fillCubicMetres;
        total->cutCubicMetres += facts.anomaly->cutCubicMetres;
    }
    std::stable_sort(totals.begin(), totals.end(),
                     [](const ClassTotal& a, const ClassTotal& b) { return a.count > b.count; });
    return totals;
}

/// The result that tells how the project was computed: the latest one.
const StationResult* latestResult(const InspectionData& data) {
    const StationResult* latest = nullptr;
    for (const StationFindings& findings : data.stations) {
        if (findings.result && (!latest || findings.result->computedAt > latest->computedAt)) {
            latest = &*findings.result;
        }
    }
    return latest;
}

int computedStations(const InspectionData& data) {
    return static_cast<int>(
        std::count_if(data.stations.begin(), data.stations.end(),
                      [](const StationFindings& findings) { return findings.result.has_value(); }));
}

QString localTime(const QString& isoUtc) {
    return QDateTime::fromString(isoUtc, Qt::ISODate)
        .toLocalTime()
        .toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

std::vector<NamedFact> projectFacts(const InspectionData& data) {
    const ProjectDescription& project = data.project;
    return {{"项目名称", project.name},
            {"前期航摄", epochTitle(project.oldEpoch(), "日期未知")},
            {"后期航摄", epochTitle(project.newEpoch(), "日期未知")},
            {"坐标系", project.crs.startsWith("EPSG") ? project.crs : QStringLiteral("自定义投影坐标系")},
            {"巡检站段",
             QStringLiteral("%1 个（已计算 %2 个）").arg(data.stations.size()).arg(computedStations(data))},
            {"检出异常", QStringLiteral("%1 处").arg(data.anomalyCount())},
            {"高后果区", QStringLiteral("%1 处").arg(data.highConsequenceAreas.size())},
            {"报告日期", QDate::currentDate().toString(Qt::ISODate)}};
}

/// The co-registration as the result's columns tell it, also those of before there was a summary.
detect::Coregistration coregistrationOf(const StationResult& result) {
    if (result.summary) {
        return result.summary->report.coregistration;
    }
    detect::Coregistration coregistration;
    coregistration.method =
        detect::methodNamed(result.coregistration.toStdString()).value_or(coregistration.method);
    coregistration.dxMetres = result.dxMetres;
    coregistration.dyMetres = result.dyMetres;
    coregistration.dzMetres = result.dzMetres;
    return coregistration;
}

QString rejectionsText(const detect::Rejections& rejections) {
    QStringList parts;
    for (const RejectionCount& count : rejectionCounts(rejections)) {
        parts << QStringLiteral("%1 %2").arg(count.rule).arg(count.rejected);
    }
    return parts.join(QStringLiteral("，"));
}

std::vector<NamedFact> accountFacts(const DetectionAccount& account) {
    std::vector<NamedFact> facts;
    for (const QString& reason : coregistrationReasons(account.coregistration)) {
        facts.push_back({"配准说明", reason});
    }
    facts.push_back(
        {"高差标准差",
         QStringLiteral("%1 m（平地上一个像元）").arg(fixed(account.coregistration.sigmaMetres, 3))});
    facts.push_back({"剔除的变化", rejectionsText(account.rejections)});
    if (const auto doubt = doubtOf(account.coregistration.nmadAfterMetres, account.parameters)) {
        facts.push_back({"注意", *doubt});
    }
    return facts;
}

std::vector<NamedFact> methodFacts(const InspectionData& data, const StationResult* result) {
    if (!result) {
        return {};
    }
    const detect::Coregistration coregistration = coregistrationOf(*result);
    const bool isNuthKaab = coregistration.method == detect::CoregistrationMethod::Full;
    std::vector<NamedFact> facts{
        {"计算时间", localTime(result->computedAt)},
        {"检测阈值", QStringLiteral("|dZ| ≥ %1 m").arg(fixed(result->thresholdMetres, 2))},
        {"最小面积", QStringLiteral("%1 m²").arg(fixed(result->minAreaSquareMetres, 1))},
        {"两期配准", methodTitle(coregistration.method) +
                         (isNuthKaab ? QStringLiteral("（Nuth & Kääb 2011）") : QString())},
        {"后期改正量", shiftText(coregistration)},
        {"稳定区离散度", QStringLiteral("NMAD %1 m（改正前 %2 m）")
                             .arg(fixed(result->nmadAfterMetres, 3), fixed(result->nmadBeforeMetres, 3))}};
    if (data.account) {
        const auto more = accountFacts(*data.account);
        facts.insert(facts.end(), more.begin(), more.end());
    }
    return facts;
}

qsizetype countWithin(const std::vector<AnomalyFacts>& anomalies, double metres) {
    return std::count_if(anomalies.begin(), anomalies.end(), [&](const AnomalyFacts& facts) {
        return facts.surroundings.pipeMetres && *facts.surroundings.pipeMetres <= metres;
    });
}

/// Says nothing of a line or of areas that the project does not have.
QString surroundingsSummary(const InspectionData& data, const Pipeline& pipeline,
                            const std::vector<AnomalyFacts>& anomalies) {
    QString text;
    if (!pipeline.parts().empty()) {
        text += QStringLiteral("距管道中心线 %1 m 以内 %2 处，%3 m 以内 %4 处。")
                    .arg(kNearMetres)
                    .arg(countWithin(anomalies, kNearMetres))
                    .arg(kCorridorMetres)
                    .arg(countWithin(anomalies, kCorridorMetres));
    }
    if (!data.highConsequenceAreas.empty()) {
        const auto touching =
            std::count_if(anomalies.begin(), anomalies.end(), [](const AnomalyFacts& facts) {
                return !facts.surroundings.highConsequenceAreas.empty();
            });
        text += QStringLiteral("涉及高后果区 %1 处。").arg(touching);
    }
    return text;
}

QString summaryOf(const InspectionData& data, const Pipeline& pipeline, const ReportFacts& facts) {
    if (facts.anomalies.empty()) {
        return computedStations(data) == 0 ? QStringLiteral("本项目尚未计算异常。")
                                           : QStringLiteral("对比两期航摄数据，未检出超过阈值的地表变化。");
    }
    double fill = 0.0;
    double cut = 0.0;
    int judged = 0;
    for (const ClassTotal& total : facts.classes) {
        fill += total.fillCubicMetres;
        cut += total.cutCubicMetres;
        judged += total.judged;
    }
    const auto significant =
        std::count_if(facts.anomalies.begin(), facts.anomalies.end(),
                      [](const AnomalyFacts& each) { return isSignificant(*each.anomaly); });
    const auto known =
        std::count_if(facts.anomalies.begin(), facts.anomalies.end(), [](const AnomalyFacts& each) {
            return each.anomaly->volumeSigmaCubicMetres.has_value();
        });
    const QString certainty =
        known == 0 ? QString() : QStringLiteral("体积变化在 95% 置信度下显著的 %1 处。").arg(significant);
    return QStringLiteral("对比两期航摄数据，沿管道共检出地表变化异常 %1 处，其中已核查 %2 处、待核查 %3 处；"
                          "填方合计 %4 m³，挖方合计 %5 m³。")
               .arg(facts.anomalies.size())
               .arg(judged)
               .arg(static_cast<int>(facts.anomalies.size()) - judged)
               .arg(fixed(fill, 0), fixed(cut, 0)) +
           certainty + surroundingsSummary(data, pipeline, facts.anomalies);
}

/// Of more than two epochs, undated ones are called by their keys.
QString periodOf(const ProjectDescription& project) {
    const bool isOneOfSeveral = project.epochs.size() > 2;
    const EpochPair pair = project.pair();
    return epochTitle(project.oldEpoch(), isOneOfSeveral ? pair.older : "前期") + QStringLiteral(" 至 ") +
           epochTitle(project.newEpoch(), isOneOfSeveral ? pair.newer : "后期");
}

} // namespace

const std::vector<ReportColumn>& ReportFacts::columns() {
    static const std::vector<ReportColumn> heads = [] {
        std::vector<ReportColumn> all;
        for (const TableColumn& column : tableColumns()) {
            all.push_back(column.head);
        }
        return all;
    }();
    return heads;
}

ReportFacts reportFacts(const InspectionData& data, const Pipeline& pipeline) {
    ReportFacts facts;
    facts.title = QStringLiteral("管道巡检报告");
    facts.projectName = data.project.name;
    facts.period = periodOf(data.project);
    facts.project = projectFacts(data);
    facts.method = methodFacts(data, latestResult(data));
    facts.anomalies = anomaliesOf(data, pipeline);
    facts.classes = classesOf(facts.anomalies);
    facts.summary = summaryOf(data, pipeline, facts);
    return facts;
}

QString epochTitle(const Epoch& epoch, const QString& otherwise) {
    return epoch.date.isEmpty() ? otherwise : epoch.date;
}

} // namespace inspection
