#include "platform/qt/print_queue.h"

#include <cups/cups.h>

#include <QPageSize>
#include <QSizeF>
#include <QStringList>

namespace pelmora {

namespace {

std::string LastError() {
  const char* why = cupsLastErrorString();
  return why && *why ? why : "the print system gave no reason";
}

std::string OptionOf(const cups_dest_t& dest, const char* name) {
  const char* value = cupsGetOption(name, dest.num_options, dest.options);
  return value ? value : "";
}

// A printer reports a fault that stops it as a reason ending in "-error"
// (media-jam-error, door-open-error...); "paused" alone is a queue stopped
// by hand, whose jobs wait.
std::string FaultOf(const cups_dest_t& dest) {
  QStringList faults;
  for (const QString& reason : QString::fromStdString(OptionOf(dest, "printer-state-reasons")).split(QLatin1Char(',')))
    if (reason.endsWith(QLatin1String("-error"))) faults << reason;
  if (faults.isEmpty()) return {};
  const std::string message = OptionOf(dest, "printer-state-message");
  return message.empty() ? faults.join(QStringLiteral(", ")).toStdString() : message;
}

}  // namespace

std::optional<PrintQueue> DefaultPrintQueue() {
  cups_dest_t* dest = cupsGetNamedDest(CUPS_HTTP_DEFAULT, nullptr, nullptr);
  if (!dest) return std::nullopt;
  PrintQueue queue;
  queue.name = dest->name;
  queue.fault = FaultOf(*dest);
  // A printer that tells nothing of its paper gets A4 with half-inch
  // margins, as a sheet saved as PDF does.
  queue.page = QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, QMarginsF(12.7, 12.7, 12.7, 12.7),
                           QPageLayout::Millimeter);
  if (cups_dinfo_t* info = cupsCopyDestInfo(CUPS_HTTP_DEFAULT, dest)) {
    cups_size_t size{};
    if (cupsGetDestMediaDefault(CUPS_HTTP_DEFAULT, dest, info, 0, &size) && size.width > 0 && size.length > 0) {
      // CUPS measures in hundredths of a millimetre.
      const QPageSize paper(QSizeF(size.width / 100.0, size.length / 100.0), QPageSize::Millimeter, QString(),
                            QPageSize::FuzzyMatch);
      queue.page = QPageLayout(paper, QPageLayout::Portrait,
                               QMarginsF(size.left / 100.0, size.top / 100.0, size.right / 100.0, size.bottom / 100.0),
                               QPageLayout::Millimeter);
      queue.media = size.media;
    }
    cupsFreeDestInfo(info);
  }
  cupsFreeDests(1, dest);
  return queue;
}

std::string SubmitPdf(const PrintQueue& queue, const QByteArray& pdf, const std::string& title) {
  cups_option_t* options = nullptr;
  int count = 0;
  if (!queue.media.empty()) count = cupsAddOption("media", queue.media.c_str(), count, &options);
  const char* name = queue.name.c_str();
  const int job = cupsCreateJob(CUPS_HTTP_DEFAULT, name, title.c_str(), count, options);
  cupsFreeOptions(count, options);
  if (job == 0) return LastError();
  std::string why;
  if (cupsStartDocument(CUPS_HTTP_DEFAULT, name, job, title.c_str(), CUPS_FORMAT_PDF, 1) != HTTP_STATUS_CONTINUE ||
      cupsWriteRequestData(CUPS_HTTP_DEFAULT, pdf.constData(), static_cast<std::size_t>(pdf.size())) !=
          HTTP_STATUS_CONTINUE) {
    why = LastError();
    cupsFinishDocument(CUPS_HTTP_DEFAULT, name);
    cupsCancelJob2(CUPS_HTTP_DEFAULT, name, job, 0);
    return why;
  }
  if (cupsFinishDocument(CUPS_HTTP_DEFAULT, name) > IPP_STATUS_OK_CONFLICTING) return LastError();
  return {};
}

}  // namespace pelmora
