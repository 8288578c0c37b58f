// Figures of pieces, co-registrations and summaries come back from their files to the last bit: a job in pieces is to
// give what it gives in one run.

#include "detect/output/CoregistrationText.h"
#include "detect/output/PieceFrameText.h"
#include "detect/output/SummaryFile.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace detect::test {
namespace {

/// Five zeros or nines follow each other in each, where the JSON text of GDAL takes the rest for noise.
std::vector<double> figuresWithNoiseInTheirTails() {
    return {0.031852700209999994,
            0.0318527000009,
            0.031852699000000373,
            0.5999999900000001,
            -919.8551400000091,
            1e-300,
            1.0 / 3.0,
            0.1,
            100000.0,
            1e22,
            -0.0};
}

Coregistration shiftedBy(double metres) {
    Coregistration found;
    found.method = CoregistrationMethod::Full;
    found.dxMetres = metres;
    found.nmadAfterMetres = metres;
    return found;
}

TEST(FigureText, FramesOfPiecesKeepEveryDigit) {
    for (const double figure : figuresWithNoiseInTheirTails()) {
        Piece piece;
        piece.frame.cellToMap.c = {figure, 2.0, 0.0, figure, 0.0, -2.0};
        piece.frame.parameters.thresholdMetres = figure;
        piece.frame.coregistration = shiftedBy(figure);
        Piece back;
        ASSERT_TRUE(parsePiece(describePiece(piece), back));
        EXPECT_EQ(back.frame.cellToMap.c, piece.frame.cellToMap.c) << describePiece(piece);
        EXPECT_EQ(back.frame.parameters.thresholdMetres, figure);
        EXPECT_EQ(back.frame.coregistration.dxMetres, figure);
    }
}

TEST(FigureText, CoregistrationsKeepEveryDigit) {
    for (const double figure : figuresWithNoiseInTheirTails()) {
        const auto back = readCoregistration(coregistrationText(shiftedBy(figure)));
        ASSERT_TRUE(back);
        EXPECT_EQ(back->dxMetres, figure);
        EXPECT_EQ(back->nmadAfterMetres, figure);
    }
}

TEST(FigureText, SummariesKeepEveryDigitAndStayReadable) {
    RunReport report;
    report.coregistration = shiftedBy(0.0318527000009);
    Parameters parameters;
    parameters.thresholdMetres = 0.1;
    const std::string text = summaryText(report, parameters);
    EXPECT_NE(text.find("\n  \"threshold_m\":0.1,\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\n    \"dx_m\":0.0318527000009,\n"), std::string::npos) << text;
    const auto back = readSummary(text);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->report.coregistration.dxMetres, 0.0318527000009);
}

} // namespace
} // namespace detect::test
