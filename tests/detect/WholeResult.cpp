#include "tests/detect/WholeResult.h"

#include "detect/output/ResultFile.h"

namespace detect::test {

Status writeAnomalies(const std::vector<Anomaly>& anomalies, const std::string& srsWkt,
                      const std::string& path, const std::vector<std::string>& attributes) {
    auto output = StagedOutput::beside(path);
    if (!output) {
        return failed(output);
    }
    ResultFile file(*output);
    if (auto done = file.begin(srsWkt); !done) {
        return failed(done);
    }
    for (std::size_t i = 0; i < anomalies.size(); ++i) {
        if (auto done = file.write(anomalies[i], i < attributes.size() ? attributes[i] : std::string());
            !done) {
            return failed(done);
        }
    }
    return file.close().and_then([&output] { return output->commit(); });
}

} // namespace detect::test
