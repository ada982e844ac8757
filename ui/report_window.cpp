// fomReport: shows the report in a fixed-pitch box; copies and saves it.

#include "ui/report_window.h"

#include <algorithm>

// ferrox
#include "text/cp932.h"
#include "ui/file_dialog.h"
#include "ui/fixed_font.h"
#include "ui/help_window.h"
#include "ui/message_box.h"

// Qt
#include <QApplication>
#include <QClipboard>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSaveFile>
#include <QVBoxLayout>

namespace ferrox::ui {

std::string ReportFileBytes(const QString& report) {
  QString text = report;
  text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
  if (!text.isEmpty() && !text.endsWith(QLatin1Char('\n'))) text += QLatin1Char('\n');
  text.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
  return cp932::FromUtf8Lossy(text.toStdString());
}

QString SurveyFlagsLine(std::uint16_t flags) {
  return QStringLiteral("調査結果コード: %1 ").arg(flags, 4, 16, QLatin1Char('0')).toUpper() +
         QStringLiteral("(1:Bin 2:SJis 4:Jis 8:Euc 10:DOS 20:Mac 40:Unix 100:SJIS 200:JIS漢 400:JISｶﾅ 800:EUC)");
}

ReportWindow::ReportWindow(const QString& report, const QString& inputPath, std::optional<std::uint16_t> flags,
                           QWidget* parent)
    : QDialog(parent), report_(report), inputPath_(inputPath), text_(new QPlainTextEdit(this)) {
  setObjectName(QStringLiteral("fomReport"));
  setWindowTitle(QStringLiteral("ファイルの調査結果"));
  setSizeGripEnabled(true);

  text_->setObjectName(QStringLiteral("txtReport"));
  text_->setReadOnly(true);
  text_->setLineWrapMode(QPlainTextEdit::NoWrap);
  text_->setFont(JapaneseFixedFont());
  QString shown = report;
  shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  text_->setPlainText(shown);

  auto* flagLine = new QLabel(flags ? SurveyFlagsLine(*flags) : QString(), this);
  flagLine->setObjectName(QStringLiteral("lblFlags"));
  flagLine->setTextInteractionFlags(Qt::TextSelectableByMouse);
  flagLine->setVisible(flags.has_value());

  MakePreview();
  QHBoxLayout* buttons = MakeButtonRow();
  setTabOrder(text_, preview_);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(text_, 2);
  layout->addWidget(flagLine);
  layout->addWidget(tieWarning_);
  layout->addWidget(previewLabel_);
  layout->addWidget(preview_, 1);
  layout->addLayout(buttons);
  resize(600, 420);
}

// The converted head and the code warning, hidden until SetPreview.
void ReportWindow::MakePreview() {
  previewLabel_ = new QLabel(QStringLiteral("変換後の先頭(&P)："), this);
  preview_ = new QPlainTextEdit(this);
  preview_->setObjectName(QStringLiteral("txtPreview"));
  preview_->setReadOnly(true);
  preview_->setLineWrapMode(QPlainTextEdit::NoWrap);
  preview_->setFont(JapaneseFixedFont());
  previewLabel_->setBuddy(preview_);
  tieWarning_ = new QLabel(this);
  tieWarning_->setObjectName(QStringLiteral("lblTieWarning"));
  tieWarning_->setWordWrap(true);
  tieWarning_->setStyleSheet(QStringLiteral("color: #b00000;"));
  for (QWidget* part : std::initializer_list<QWidget*>{previewLabel_, preview_, tieWarning_}) part->hide();

}

QHBoxLayout* ReportWindow::MakeButtonRow() {
  auto* copy = new QPushButton(QStringLiteral("コピー(&C)"), this);
  copy->setObjectName(QStringLiteral("cmdCopy"));
  auto* save = new QPushButton(QStringLiteral("保存(&S)..."), this);
  save->setObjectName(QStringLiteral("cmdSave"));
  auto* help = new QPushButton(QStringLiteral("ﾍﾙﾌﾟ(&H)"), this);
  help->setObjectName(QStringLiteral("cmdHelp"));
  auto* close = new QPushButton(QStringLiteral("閉じる"), this);
  close->setObjectName(QStringLiteral("cmdExit"));
  close->setDefault(true);
  connect(copy, &QPushButton::clicked, this, &ReportWindow::CopyReport);
  connect(save, &QPushButton::clicked, this, &ReportWindow::cmdSave_Click);
  connect(help, &QPushButton::clicked, this, [this] { ShowHelp(this, help_topic::kReport); });
  connect(close, &QPushButton::clicked, this, &QDialog::accept);

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(copy);
  buttons->addWidget(save);
  buttons->addStretch(1);
  buttons->addWidget(help);
  buttons->addWidget(close);
  return buttons;
}

void ReportWindow::SetPreview(const QString& head, const QString& warning) {
  preview_->setPlainText(head);
  tieWarning_->setText(warning);
  tieWarning_->setVisible(!warning.isEmpty());
  previewLabel_->show();
  preview_->show();
  resize(width(), std::max(height(), 560));
}

void ReportWindow::CopyReport() {
  QString text = report_;
  text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  QApplication::clipboard()->setText(text);
}

bool ReportWindow::SaveReport(const QString& path) {
  const std::string bytes = ReportFileBytes(report_);
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly) ||
      file.write(bytes.data(), static_cast<qint64>(bytes.size())) != static_cast<qint64>(bytes.size()) ||
      !file.commit()) {
    Exclaim(this, QStringLiteral("ﾌｧｲﾙ [") + path + QStringLiteral("] に保存できませんでした"));
    return false;
  }
  return true;
}

void ReportWindow::cmdSave_Click() {
  const QFileInfo input(inputPath_);
  const QString proposal = input.absolutePath() + QLatin1Char('/') + input.completeBaseName() +
                           QStringLiteral("_調査結果.txt");
  const QStringList chosen = ShowFileDialog(
      {this, FileDialogMode::Save, QStringLiteral("調査結果の保存"), kFilterTables, proposal});
  if (!chosen.isEmpty()) SaveReport(chosen.first());
}

}  // namespace ferrox::ui
