#pragma once

#include "page/cutrule.h"

#include <QString>

class QTranslator;

/// The language that the value \a value of `language` stands for: "en" if it is exactly
/// that, otherwise "zh".
QString languageNamed(const QString &value);

/// The language of the interface according to the configuration file \a config.
QString interfaceLanguage(const QString &config);

/// Loads the English texts that are compiled into the program. Returns false
/// and leaves \a translator empty if they are missing.
bool loadEnglishTexts(QTranslator &translator);

/// What the value \a value of `autopage` stands for: yes, unless it is "0" or "false" in
/// upper or lower case.
bool isAutoPageValue(const QString &value);

/// Whether cuts are placed automatically according to the configuration file
/// \a config.
bool isAutoPageWanted(const QString &config);

/// How cuts are placed automatically in a run with the configuration file
/// \a config: by the calm rule if its key `cutrule` says exactly "calm".
CutRule chosenCutRule(const QString &config);
