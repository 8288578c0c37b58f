#include "tests/support/QtMain.h"

int main(int argc, char** argv) {
    return runTestsInApplication(argc, argv, [] {});
}
