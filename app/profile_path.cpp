#include "app/profile_path.h"

#include <QFile>
#include <QStandardPaths>

namespace pelmora {

std::string PlayerProfilePath() {
  const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
  return QFile::encodeName(config + QStringLiteral("/pelmora/wsearch.ini")).toStdString();
}

}  // namespace pelmora
