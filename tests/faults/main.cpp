#include "tests/support/OwnSettings.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
    const OwnSettings settings;
    ::testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
