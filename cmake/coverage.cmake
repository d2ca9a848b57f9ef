# Coverage of src. The libraries pass the counters on to every program that links them;
# only the libraries and programs of src are compiled with the flags, not the tests.
if(NOT QUILLMARCH_COVERAGE)
    return()
endif()

# Atomic, or threads spoil each other's counts. Without inlining, or gcov counts the
# branches of Qt's headers as branches of the lines that call them.
set(quillmarch_coverage_flags --coverage -fprofile-update=atomic --param=early-inlining-insns=0)

# A process writes its counts when it exits. One that a signal ends, or _Exit(), does not, and
# these are paths that the tests are to reach: so raise() and _Exit() write the counts first.
add_library(quillmarch_counters STATIC cmake/coverage/writecounters.cpp)
target_link_libraries(quillmarch_counters PRIVATE quillmarch_warnings)
target_link_options(quillmarch_counters INTERFACE --coverage -Wl,--wrap=_Exit,--wrap=raise)
