#include "cloud/SurveyFacts.h"

#include "cloud/PointReader.h"
#include "cloud/PointSample.h"

#include <cpl_time.h>
#include <gdal_priv.h>

#include <cstdio>

namespace cloud {

namespace {

constexpr double kDaySeconds = 86400.0;

/// Of seconds since 1970.
std::string dateOf(double seconds) {
    std::tm day{};
    CPLUnixTimeToYMDHMS(static_cast<GIntBig>(seconds), &day);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", day.tm_year + 1900, day.tm_mon + 1, day.tm_mday);
    return text;
}

/// Adjusted standard GPS time: seconds since 1980-01-06, less a thousand million (ASPRS, LAS 1.4). Nothing where that
/// is before the first airborne laser surveys or far ahead, as in files that keep other times under the mark.
std::string dateOfGpsTime(double time) {
    constexpr double kGpsZero = 315964800.0;
    constexpr double kTakenOff = 1e9;
    constexpr double kYear1990 = 631152000.0;
    constexpr double kYear2100 = 4102444800.0;
    const double seconds = time + kTakenOff + kGpsZero;
    return seconds >= kYear1990 && seconds < kYear2100 ? dateOf(seconds) : std::string();
}

std::string creationDate(const LasHeader& header) {
    const bool isSaid = header.creationYear >= 1990 && header.creationYear < 2100 &&
                        header.creationDay >= 1 && header.creationDay <= 366;
    if (!isSaid) {
        return {};
    }
    std::tm newYear{};
    newYear.tm_year = header.creationYear - 1900;
    newYear.tm_mday = 1;
    return dateOf(static_cast<double>(CPLYMDHMSToUnixTime(&newYear)) +
                  (header.creationDay - 1) * kDaySeconds);
}

Status addDate(SurveyFacts& facts, const CloudFile& file) {
    if (file.header.hasCalendarTime) {
        const auto time = firstTime(file.path, file.header);
        if (!time) {
            return detect::failed(time);
        }
        const double seconds = time->value_or(0.0);
        facts.date = seconds != 0.0 ? dateOfGpsTime(seconds) : std::string();
        facts.isFlightDate = !facts.date.empty();
    }
    if (facts.date.empty()) {
        facts.date = creationDate(file.header);
    }
    return {};
}

} // namespace

Result<SurveyFacts> lookAtSurvey(const std::vector<std::string>& paths, const std::string& crs) {
    GDALAllRegister();
    const auto survey = openSurvey(paths, crs, WithoutReference::Allowed);
    if (!survey) {
        return detect::failed(survey);
    }
    const auto sample = samplePoints(*survey);
    if (!sample) {
        return detect::failed(sample);
    }
    SurveyFacts facts;
    facts.files = survey->files.size();
    facts.points = survey->points;
    facts.xMin = survey->xMin;
    facts.yMin = survey->yMin;
    facts.xMax = survey->xMax;
    facts.yMax = survey->yMax;
    facts.reference = survey->reference;
    facts.heightUnit = survey->heightUnit;
    facts.density = sample->density;
    facts.hasGround = sample->hasGround;
    if (facts.density) {
        facts.cell = cellFor(*facts.density);
    }
    if (const auto done = addDate(facts, survey->files.front()); !done) {
        return detect::failed(done);
    }
    return facts;
}

} // namespace cloud
