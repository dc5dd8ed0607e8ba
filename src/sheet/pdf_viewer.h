#pragma once
// What the program asks of a PDF viewer.  The viewer is a passive page
// renderer: nothing is ever read back from it, it is never asked to scroll
// (the host moves its carrier), and every page is laid out alike from the top
// of its area so that one scroll value means the same place on every page.
// Implementations: QtPdfViewer and, for tests, FakeViewer.

#include "core/observable.h"

#include <QString>

namespace mv {

class PdfViewer {
  public:
    virtual ~PdfViewer() = default;
    // Loads the PDF and shows its first page.  A file that is not there (53
    // "File not found") or cannot be read is a Failure with a description the
    // caller can show; the viewer then shows nothing.
    virtual void LoadFile(const QString& path) = 0;
    // Lets the document go: the viewer shows nothing (a song without a sheet).
    virtual void unloadFile() = 0;
    virtual void gotoFirstPage() = 0;
    // The next page at the same zoom; on the last page nothing happens.
    virtual void gotoNextPage() = 0;
    // The page before; on the first page nothing happens.
    virtual void gotoPreviousPage() = 0;
    // "none": the page alone, no side panels.
    virtual void setPageMode(const QString& mode) = 0;
    // Pages drawn at `percent` (100: one PDF point is 20 twips).
    virtual void setZoom(float percent) = 0;

    // The page on show, 1-based; 0 with no document.  Each implementation
    // keeps it as it turns, so that others can follow the page.
    Prop<int> shownPage{0};
};

} // namespace mv
