// The program's icon.

#include "ui/app_icon.h"

namespace ferrox::ui {

QIcon AppIcon() {
  QIcon builtIn;
  for (const int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
    builtIn.addFile(QStringLiteral(":/icons/hicolor/%1x%1/apps/ferrox.png").arg(size), QSize(size, size));
  }
  return QIcon::fromTheme(QStringLiteral("ferrox"), builtIn);
}

}  // namespace ferrox::ui
