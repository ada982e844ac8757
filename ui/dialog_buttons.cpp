// The closing buttons of a dialog.

#include "ui/dialog_buttons.h"

// ferrox
#include "ui/help_window.h"
#include "ui/option_widgets.h"

// Qt
#include <QDialog>
#include <QHBoxLayout>
#include <QPushButton>

namespace ferrox::ui {

DialogButtons MakeDialogButtons(QDialog* dialog, const QString& helpTopic) {
  auto* ok = new QPushButton(QStringLiteral("OK"), dialog);
  ok->setObjectName(QStringLiteral("cmdExit"));
  ok->setDefault(true);
  auto* cancel = MakeButton(dialog, "cmdCancel", QStringLiteral("キャンセル"));
  auto* help = MakeButton(dialog, "cmdHelp", QStringLiteral("ﾍﾙﾌﾟ(&H)"));
  QObject::connect(cancel, &QPushButton::clicked, dialog, &QDialog::reject);
  QObject::connect(help, &QPushButton::clicked, dialog,
                   [dialog, helpTopic] { ShowHelp(dialog, helpTopic); });
  return {ok, cancel, help};
}

QHBoxLayout* ButtonRow(const DialogButtons& buttons) {
  auto* row = new QHBoxLayout;
  row->addStretch(1);
  row->addWidget(buttons.ok);
  row->addWidget(buttons.cancel);
  row->addWidget(buttons.help);
  return row;
}

}  // namespace ferrox::ui
