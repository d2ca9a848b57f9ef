#pragma once

#include "support/imagecomparison.h"
