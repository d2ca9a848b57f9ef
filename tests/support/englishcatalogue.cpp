#include "support/englishcatalogue.h"

#include "app/startup.h"

#include <QCoreApplication>

EnglishCatalogue::EnglishCatalogue()
    : loaded(loadEnglishTexts(translator) && QCoreApplication::installTranslator(&translator))
{
}

EnglishCatalogue::~EnglishCatalogue()
{
    QCoreApplication::removeTranslator(&translator);
}
