// The JSON texts of a result row: the summary of a run, and how often differences occur on stable ground.
#include "detect/output/SummaryFile.h"
#include "tests/fuzz/Input.h"
#include "workbench/inspectiondata/database/Histogram.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::textOf(data, size);
    if (const auto summary = detect::readSummary(text)) {
        fuzz::require(
            detect::readSummary(detect::summaryText(summary->report, summary->parameters)).has_value());
    }
    if (auto histogram = inspection::readHistogram(text)) {
        inspection::add(*histogram, *histogram);
        fuzz::require(inspection::readHistogram(inspection::histogramText(*histogram)).has_value());
    }
    return 0;
}
