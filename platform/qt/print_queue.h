#pragma once
// The default printer as the print system (CUPS) has it: its own paper, the
// part of it the printer can mark, whether it is stopped by a fault, and a
// job handed over so that a refusal comes back in the system's own words.
// Qt's printer starts every job on A4 and drops the answer to a job it sends
// (a queue refusing jobs looks idle to it): a print lost that way would
// reach no one.

#include <QByteArray>
#include <QPageLayout>
#include <optional>
#include <string>

namespace pelmora {

struct PrintQueue {
  std::string name;
  std::string media;  // the name of its paper, as the job asks for it
  QPageLayout page;   // that paper, the margins where it can't print
  // Why it would print nothing now (a fault has stopped the printer), in the
  // system's words; empty when it takes jobs. A queue paused by hand takes
  // them: they wait in it.
  std::string fault;
};

// The default printer, or nothing when none is set up or the print system
// can't be reached.
std::optional<PrintQueue> DefaultPrintQueue();

// Hands the PDF to the queue as one job named title. Empty when the print
// system took it (printed, or waiting in a paused queue); otherwise why it
// did not, in its own words.
std::string SubmitPdf(const PrintQueue& queue, const QByteArray& pdf, const std::string& title);

}  // namespace pelmora
