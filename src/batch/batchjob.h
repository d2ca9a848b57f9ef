#pragma once

#include "batch/batchevent.h"

#include <functional>

/// Is told of an event of the job that runs.
using EventSink = std::function<void(const BatchEvent &)>;

/// Turns the image of \a job into its PDF file, as the window would with the
/// same choices. Tells \a sink of the file that is being written, of each page,
/// and at last of the outcome. Needs a QGuiApplication.
///
/// The output is replaced only by a file that is complete. Page numbers and the
/// scale of the pages are values of the whole process: no window may be open.
///
/// Throws std::bad_alloc if memory runs out; see `exitWhenOutOfMemory`.
void runJob(const BatchJob &job, const EventSink &sink);
