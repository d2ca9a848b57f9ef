#pragma once

#include <QList>

class MainWindow;
class PageItem;

/// The only window of a driver, which is visible. The program never destroys the
/// scenes of a window, so one window per input would fill the memory.
MainWindow &usedWindow();

/// Resets \a window to the same state for each input: a document of three strips,
/// one column, no page numbers, default margins, no toast, cuts on bright rows.
void resetWindow(MainWindow &window);

/// Draws the whole window, and exports the first pages of the current layout.
void drawAndExport(MainWindow &window);

/// Aborts unless \a strips are counted from 0 and linked both ways.
void requireCompleteChain(const QList<PageItem *> &strips);

/// Aborts if the strips and pages of \a window are inconsistent: the chain with its
/// links and indexes, and a page for each strip.
void requireConsistentDocument(const MainWindow &window);
