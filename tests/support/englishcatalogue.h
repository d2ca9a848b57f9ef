#pragma once

#include <QTranslator>

/// The English texts of the program, installed while this object lives.
class EnglishCatalogue
{
public:
    EnglishCatalogue();
    ~EnglishCatalogue();
    Q_DISABLE_COPY_MOVE(EnglishCatalogue)

    bool isLoaded() const { return loaded; }

private:
    QTranslator translator;
    bool loaded = false;
};
