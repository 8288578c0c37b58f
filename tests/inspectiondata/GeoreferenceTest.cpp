#include "workbench/inspectiondata/project/Georeference.h"

#include <gtest/gtest.h>

using namespace inspection;

namespace {

Transformation wayToUtm() {
    return transformationBetween(*referenceOf("EPSG:4549"), *referenceOf("EPSG:32650"));
}

TEST(Georeference, TheWayBetweenTwoSystemsIsSoughtOnce) {
    {
        const Transformation first = wayToUtm();
        ASSERT_TRUE(first);
        ASSERT_TRUE(first->GetEmitErrors()) << "as one is that has just been made";
        first->SetEmitErrors(false);
    }
    const Transformation again = wayToUtm();
    ASSERT_TRUE(again);
    EXPECT_FALSE(again->GetEmitErrors()) << "it is the same one";
    again->SetEmitErrors(true);
    double x = 500000.0;
    double y = 3400000.0;
    EXPECT_NE(again->Transform(1, &x, &y), 0);
}

} // namespace
