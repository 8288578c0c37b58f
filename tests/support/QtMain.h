#pragma once

#include <gtest/gtest.h>

#include <QApplication>

/// Runs all tests inside a QApplication; for programs whose tests open windows.
template<class BeforeApplication>
int runTestsInApplication(int argc, char** argv, BeforeApplication beforeApplication) {
    ::testing::InitGoogleTest(&argc, argv);
    beforeApplication();
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
