#pragma once

/// Milliseconds for 32 windows of a picture of 1080 x 50000.
struct CutSpeed
{
    double reading = 0; ///< adding up their bytes
    double cutting = 0; ///< finding their calm rows
};

CutSpeed measureCutSpeed();
