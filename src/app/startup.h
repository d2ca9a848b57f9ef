#pragma once

#include <QString>

class QTranslator;

/// The language of the interface according to the configuration file \a config:
/// "en" if the value of `language` is exactly that, otherwise "zh".
QString interfaceLanguage(const QString &config);

/// Loads the English texts that are compiled into the program. Returns false
/// and leaves \a translator empty if they are missing.
bool loadEnglishTexts(QTranslator &translator);

/// Whether cuts are placed automatically according to the configuration file
/// \a config: yes, unless `autopage` is "0" or "false" in upper or lower case.
bool isAutoPageWanted(const QString &config);
