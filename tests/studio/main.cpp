// Widgets without a display.
#include <gtest/gtest.h>

#include <QApplication>

#include "language.h"

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    const larkmoor::Language language(QLocale::c());
    return RUN_ALL_TESTS();
}
