#pragma once

#include <QString>

class MainWindow;

/// The one shown window of a driver. The program never destroys the scenes of a
/// window, so a window an input would fill the memory.
MainWindow &usedWindow();

/// Puts \a window into the same state for each input, whatever the last one
/// did: a document of three strips, one column, no page numbers, default
/// margins, no toast.
void resetWindow(MainWindow &window);

/// Draws the whole window, and the first pages of the shown layout into a PDF
/// file.
void drawAndExport(MainWindow &window);

/// Ends the program if the strips and pages of \a window do not belong
/// together: the chain, its links and indexes, a page for each.
void requireWholeDocument(const MainWindow &window);
