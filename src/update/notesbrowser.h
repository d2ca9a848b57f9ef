#pragma once

#include <QTextBrowser>

/// Shows release notes that came from the network.
///
/// Pictures in them are shown only if a data address holds them: no file is
/// read, neither one of the user nor one that never ends.
class NotesBrowser : public QTextBrowser
{
public:
    using QTextBrowser::QTextBrowser;

    /// Shows \a html, or its plain text if the layout would take too long: each
    /// nested table doubles the time of the layout, and the time to parse grows
    /// with the square of the number of tags.
    void showNotes(const QString &html);

protected:
    QVariant loadResource(int type, const QUrl &name) override;

    /// Does nothing: following a link would replace the notes.
    void doSetSource(const QUrl &, QTextDocument::ResourceType) override {}
};
