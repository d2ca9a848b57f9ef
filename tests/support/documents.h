#pragma once

#include "support/configvalues.h"
#include "support/dialoganswer.h"
#include "support/imagecomparison.h"
#include "support/pdffacts.h"
#include "support/pictures.h"
#include "support/windowprobe.h"
