#pragma once

#include "batch/batchoptions.h"
#include "batch/cutlist.h"

#include <QList>
#include <QString>

/// An image of a job.
struct JobImage
{
    QString name;
    FileCuts cuts; // that the user has asked for
};

/// One PDF file, and the images that it is made of.
struct BatchJob
{
    int number = 0; // counted from 0
    QList<JobImage> images; // at least one
    QString output; // may be empty for a dry run; "-" for standard output
    int threads = 0; // that encode; 0: one for each processor
};

struct BatchPlan
{
    QList<BatchJob> jobs; // in the order of the images
    QString folder; // must exist before the first job; empty if none is needed
};

/// The jobs for \a images, found for \a options. No two jobs write the same file, and
/// nothing would be replaced but PDF files. Reads the file system, but changes nothing.
/// Throws BatchError if that is not possible.
[[nodiscard]] BatchPlan planJobs(const BatchOptions &options, const QStringList &images);
