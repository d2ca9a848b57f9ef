#pragma once

#include "page/cutrule.h"

#include <QString>

class QTranslator;

/// The language of the interface for a run with the configuration file
/// \a config: "en" if its key `language` says exactly that, otherwise "zh".
QString interfaceLanguage(const QString &config);

/// Loads the English texts that are compiled into the program. Returns false
/// and leaves \a translator empty if they are missing.
bool loadEnglishTexts(QTranslator &translator);

/// Whether cuts are placed automatically in a run with the configuration file
/// \a config: unless its key `autopage` is "0" or, in any case, "false".
bool isAutoPageWanted(const QString &config);

/// How cuts are placed automatically in a run with the configuration file
/// \a config: by the calm rule if its key `cutrule` says exactly "calm".
CutRule chosenCutRule(const QString &config);
