#pragma once

#include "batch/batchevent.h"

#include <functional>

/// Called with each event of a job.
using EventSink = std::function<void(const BatchEvent &)>;

/// Turns the image of \a job into its PDF file, as the window would with the
/// same options. Calls \a sink when the file is begun, after each page, and with
/// the result. Needs a QGuiApplication.
///
/// The output is replaced only by a complete file. Page numbers and the scale of
/// the pages are global to the process, so no window may be open.
///
/// Throws std::bad_alloc if memory runs out; see `exitWhenOutOfMemory`.
void runJob(const BatchJob &job, const EventSink &sink);
