#pragma once

#include "detect/Detection.h"

#include <string>

namespace cli {

/// A table of the anomalies, tabs between the columns, that is printed when all went well.
class AnomalyTable {
public:
    AnomalyTable();
    void add(const detect::Anomaly& anomaly);
    /// On standard output.
    void print() const;

private:
    std::string m_text;
};

/// Hands anomalies on to their file and keeps a line of each for the table; without a table it keeps nothing.
class Tabulated : public detect::AnomalyReceiver {
public:
    /// Both must live as long; `table` may be null.
    Tabulated(detect::AnomalyReceiver& file, AnomalyTable* table) : m_file(file), m_table(table) {}

    detect::Status begin(const std::string& srsWkt) override { return m_file.begin(srsWkt); }
    detect::Status take(detect::Anomaly anomaly) override;

private:
    detect::AnomalyReceiver& m_file;
    AnomalyTable* m_table;
};

} // namespace cli
