#include "tools/pelmora-sheets/sheet_pdf.h"

#include <QIODevice>
#include <QPageLayout>
#include <QPageSize>

#include "platform/form.h"
#include "platform/qt/board_painter.h"
#include "platform/qt/form_printer.h"
#include "platform/qt/twips.h"

namespace pelmora {

namespace {

constexpr int kResolution = 1200;
constexpr double kMarginMillimetres = 12.7;
// The rings' pen is counted in pixels of the player's screen, at 15 twips
// to the pixel, so a key's rings have the weight of a player's.
constexpr double kTwipsPerScreenPixel = 15.0;
constexpr int kFooterGap = 120;  // twips between the sheet's bottom edge and the footer

// The footer as a form of one label, so it is drawn in the sheet's own font
// by the same painter.
class PageFooter : public Form {
 public:
  PageFooter(int top, std::string caption)
      : Form("Footer", "", 10380, 255), Label1("Label1", {120, top, 7575, 255}, 0, std::move(caption)) {}
  std::vector<Control*> Controls() override { return {&Label1}; }
  Label Label1;
};

}  // namespace

SheetPdf::SheetPdf(QIODevice& device) : writer_(&device) {
  writer_.setResolution(kResolution);
  writer_.setCreator(QStringLiteral("Pelmora"));
  writer_.setTitle(QStringLiteral("Pelmora worksheets"));
  writer_.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                    QMarginsF(kMarginMillimetres, kMarginMillimetres, kMarginMillimetres,
                                              kMarginMillimetres),
                                    QPageLayout::Millimeter));
}

bool SheetPdf::AddPage(Form3& sheet, const std::vector<CircleMark>& rings, const std::string& footer) {
  if (failed_) return false;
  if (!started_) {
    // Turn the paper when the sheet is wider than it and fits across it,
    // as a single printed sheet does.
    const QRectF room = writer_.pageLayout().paintRect(QPageLayout::Inch);
    const double width = sheet.ClientWidth() / kTwipsPerInch;
    const double height = sheet.ClientHeight() / kTwipsPerInch;
    if (width > room.width() && width <= room.height() && height <= room.width())
      writer_.setPageOrientation(QPageLayout::Landscape);
    started_ = painter_.begin(&writer_);
    failed_ = !started_;
    if (failed_) return false;
  } else if (!writer_.newPage()) {
    failed_ = true;
    return false;
  }

  painter_.resetTransform();
  painter_.scale(writer_.logicalDpiX() / kTwipsPerInch, writer_.logicalDpiY() / kTwipsPerInch);
  PaintFormPage(painter_, sheet);

  painter_.save();
  const PictureBox& board = sheet.Picture1;
  painter_.setClipRect(QRectF(board.Left(), board.Top(), board.Width(), board.Height()));
  painter_.translate(board.Left(), board.Top());
  PaintCircles(painter_, rings, kTwipsPerScreenPixel);
  painter_.restore();

  PageFooter under(sheet.ClientHeight() + kFooterGap, footer);
  PaintFormPage(painter_, under);
  return true;
}

bool SheetPdf::Finish() {
  if (!started_) return false;
  const bool ended = painter_.end();
  return ended && !failed_;
}

}  // namespace pelmora
