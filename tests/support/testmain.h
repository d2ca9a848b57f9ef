#pragma once

#include "pixels/processor.h"
#include "support/privatehome.h"

#include <QApplication>
#include <QTest>

/// The main function of a test program: runs the test functions of a
/// \a TestObject in a private home directory.
#define QUILLMARCH_TEST_MAIN(TestObject)                                                                               \
    int main(int argc, char *argv[])                                                                                   \
    {                                                                                                                  \
        PrivateHome home;                                                                                              \
        if (qEnvironmentVariableIsSet("QUILLMARCH_TEST_PORTABLE")) {                                                   \
            useNoVectors();                                                                                            \
        }                                                                                                              \
        QApplication app(argc, argv);                                                                                  \
        PrivateHome::removeConfigFile();                                                                               \
        TestObject test;                                                                                               \
        QTEST_SET_MAIN_SOURCE_PATH                                                                                     \
        return QTest::qExec(&test, argc, argv);                                                                        \
    }
