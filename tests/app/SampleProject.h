#pragma once

#include "samples/SampleCorridor.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

/// A small sample corridor in a folder of its own.
class SampleProject {
public:
    explicit SampleProject(int cells = 2048) {
        samples::SampleOptions options;
        options.directory = folder().toStdString();
        options.cells = cells;
        const auto problem = samples::makeSampleCorridor(options);
        EXPECT_FALSE(problem.has_value()) << *problem;
    }

    QString folder() const { return m_temporary.filePath("corridor"); }
    QString file(const QString& name) const { return folder() + '/' + name; }

private:
    QTemporaryDir m_temporary;
};
