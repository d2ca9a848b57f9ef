#pragma once

#include <QString>

/// The style sheet of both graphics views: no frame, and slim scroll bars with
/// a rounded handle.
QString viewStyleSheet();
