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
    QString folder; // that must be there before the first job; empty for none
    QString mistake; // why nothing can be done; empty if all is well
};

/// Where each image of \a options goes. No two images go to one file, and no
/// image would be overwritten. Looks at the file system, but changes nothing.
BatchPlan planJobs(const BatchOptions &options);
