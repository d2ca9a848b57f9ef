#pragma once

#include "batch/batchevent.h"

/// Turns the images of \a job into its PDF file. Calls \a sink when the file is begun,
/// after each page and picture, and with the result. Needs a QGuiApplication.
///
/// The output is replaced only by a complete file, with all pictures of the job.
///
/// Throws std::bad_alloc if memory runs out; see `exitWhenOutOfMemory`.
void runJob(const BatchJob &job, const BatchOptions &options, const EventSink &sink);
