#pragma once

#include "support/privatehome.h"

#include <QApplication>
#include <QTest>

/// The main function of a test program: a private home, an application, and
/// the test functions of one object of \a TestObject.
#define QUILLMARCH_TEST_MAIN(TestObject)                                                                               \
    int main(int argc, char *argv[])                                                                                   \
    {                                                                                                                  \
        PrivateHome home;                                                                                              \
        QApplication app(argc, argv);                                                                                  \
        PrivateHome::removeConfigFile();                                                                               \
        TestObject test;                                                                                               \
        QTEST_SET_MAIN_SOURCE_PATH                                                                                     \
        return QTest::qExec(&test, argc, argv);                                                                        \
    }
