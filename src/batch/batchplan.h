#pragma once

#include "batch/batchoptions.h"

#include <QList>
#include <QString>

/// One image and the PDF file that it becomes.
struct BatchJob
{
    QString image;
    QString output;
    PageOptions pages;
    bool dryRun = false; // write nothing; `output` may be empty
};

struct BatchPlan
{
    QList<BatchJob> jobs; // in the order of the images
    QString folder; // must exist before the first job; empty if none is needed
    QString mistake; // why no job can run; empty if all can
};

/// The output of each image of \a options. No two images share a file, and no
/// image would be overwritten. Reads the file system, but changes nothing.
BatchPlan planJobs(const BatchOptions &options);
