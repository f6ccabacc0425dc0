#pragma once
// A PDF of many printed sheets, one sheet a page, each composed by the
// printer's own page painter at true scale with vector letters. Pages go to
// the device as they are made, so a run of a thousand puzzles holds one page
// in memory, not the document.

#include <QPainter>
#include <QPdfWriter>
#include <string>
#include <vector>

#include "platform/controls.h"
#include "play/printed_sheet.h"

class QIODevice;

namespace pelmora {

class SheetPdf {
 public:
  // device must be open for writing and outlive the writer.
  explicit SheetPdf(QIODevice& device);
  SheetPdf(const SheetPdf&) = delete;
  SheetPdf& operator=(const SheetPdf&) = delete;

  // One page: the sheet as Print composes it, the rings (in the coordinates
  // of its board picture) drawn over the board, and a footer line under the
  // sheet. False once the device can't be painted on.
  bool AddPage(Form3& sheet, const std::vector<CircleMark>& rings, const std::string& footer);

  // Ends the document; false when it could not be completed.
  bool Finish();

 private:
  QPdfWriter writer_;
  QPainter painter_;
  bool started_ = false;
  bool failed_ = false;
};

}  // namespace pelmora
