// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QApplication>

// The windows are real widgets; without a display they are drawn off screen, also while the
// tests are only being listed.
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName("Kelvane");
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
