// Tests of what needs Qt, on a bus of their own and without a screen.
#include <QApplication>
#include <gtest/gtest.h>

int main(int argumentCount, char** arguments) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    testing::InitGoogleTest(&argumentCount, arguments);
    const QApplication application{argumentCount, arguments};
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
