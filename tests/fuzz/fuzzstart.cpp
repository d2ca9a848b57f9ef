#include "support/privatehome.h"

#include <QApplication>

/// Called by libFuzzer once, before the first input. Neither object is destroyed:
/// the fuzzer ends the process without returning.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static auto *home = new PrivateHome;
    static auto *app = new QApplication(*argc, *argv);
    PrivateHome::removeConfigFile();
    return home != nullptr && app != nullptr ? 0 : 1;
}
