// ferrox-gui: the desktop program.

#include "ui/startup.h"

// Qt
#include <QApplication>

int main(int argc, char* argv[]) {
  ferrox::ui::PreferPortalFileDialogs();
  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Ferrox"));
  QStringList arguments = QApplication::arguments();
  arguments.removeFirst();
  return ferrox::ui::RunFerroxGui(arguments);
}
