#pragma once

#include "support/dialoganswer.h"
