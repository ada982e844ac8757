// fomVersion: name, version and what the program is for.

#include "ui/about_dialog.h"

// ferrox
#include "app/version.h"
#include "ui/app_icon.h"

// Qt
#include <QApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace ferrox::ui {

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent) {
  setObjectName(QStringLiteral("fomVersion"));
  setWindowTitle(QStringLiteral("バージョン情報"));

  auto* icon = new QLabel(this);
  icon->setObjectName(QStringLiteral("imgIcon"));
  icon->setPixmap(AppIcon().pixmap(64, 64));
  auto* name = new QLabel(QStringLiteral("<b style='font-size:16pt'>Ferrox</b>"), this);
  name->setObjectName(QStringLiteral("lblTitle"));
  auto* version = new QLabel(
      QStringLiteral("バージョン %1").arg(QString::fromStdString(ProgramVersion())), this);
  version->setObjectName(QStringLiteral("lblVersion"));
  auto* purpose = new QLabel(
      QStringLiteral("Macintosh や Unix で作られたファイルを Windows 用に変換します。\n"
                     "MacBinary の除去、改行コードと漢字コード (JIS・EUC) の\n"
                     "シフトJIS・CR LF への変換、外字の置き換えを行います。"),
      this);
  purpose->setObjectName(QStringLiteral("lblDescription"));
  auto* qt = new QLabel(QStringLiteral("Qt %1 を使用しています。").arg(QLatin1String(qVersion())), this);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
  buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("cmdExit"));
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);

  auto* top = new QHBoxLayout;
  top->addWidget(icon, 0, Qt::AlignTop);
  auto* texts = new QVBoxLayout;
  texts->addWidget(name);
  texts->addWidget(version);
  texts->addSpacing(8);
  texts->addWidget(purpose);
  texts->addWidget(qt);
  top->addLayout(texts, 1);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(top);
  layout->addWidget(buttons);
  layout->setSizeConstraint(QLayout::SetFixedSize);
}

}  // namespace ferrox::ui
