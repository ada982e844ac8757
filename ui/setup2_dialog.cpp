// fomSetup2: survey size and rate, the file-name substitute, automatic mode.

#include "ui/setup2_dialog.h"

#include <limits>

// ferrox
#include "ui/dialog_buttons.h"
#include "ui/help_window.h"
#include "ui/message_box.h"
#include "ui/option_widgets.h"

// Qt
#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace ferrox::ui {
namespace {

// Characters a file name cannot hold on the systems the converted files go to.
const QString kBadNameChars = QStringLiteral("\\/:*?\"<>|");

}  // namespace

Setup2Dialog::Setup2Dialog(ConversionSettings& settings, QWidget* parent)
    : QDialog(parent), settings_(settings) {
  setObjectName(QStringLiteral("fomSetup2"));
  setWindowTitle(QStringLiteral("詳細設定"));

  auto* survey = new QGroupBox(QStringLiteral("ファイルの調査"), this);
  txtChkSize_ = MakeSpin(survey, "txtChkSize", 0, std::numeric_limits<std::int32_t>::max(),
                         std::max(0, settings.ChkSize), QStringLiteral(" Byte"));
  txtBinRate_ = MakeSpin(survey, "txtBinRate", 0, 100, std::max<int>(0, settings.BinRate), QStringLiteral(" ％"));
  auto* surveyForm = new QFormLayout(survey);
  surveyForm->addRow(QStringLiteral("調査するサイズ(&C)："), txtChkSize_);
  surveyForm->addRow(QStringLiteral("バイナリーの許容率(&B)："), txtBinRate_);

  auto* naming = new QGroupBox(QStringLiteral("ファイル名"), this);
  chkFncChar_ = MakeCheck(naming, "chkFncChar",
                          QStringLiteral("ファイル名に使えない文字を全角にせず置換文字にする(&N)"),
                          settings.ConvMode & conv_mode::kFncChar);
  txtFNCChar_ = new QLineEdit(QString::fromStdString(settings.FNCChar), naming);
  txtFNCChar_->setObjectName(QStringLiteral("txtFNCChar"));
  txtFNCChar_->setMaxLength(1);
  txtFNCChar_->setMaximumWidth(48);
  auto* namingForm = new QFormLayout;
  namingForm->addRow(QStringLiteral("置換文字(&P)："), txtFNCChar_);
  auto* namingLayout = new QVBoxLayout(naming);
  namingLayout->addWidget(chkFncChar_);
  namingLayout->addLayout(namingForm);

  auto* start = new QGroupBox(QStringLiteral("起動時の動作"), this);
  chkAuto_ = MakeCheck(start, "chkAuto", QStringLiteral("起動時にコマンドラインのファイルを自動変換する(&A)"),
                       settings.ExecMode & exec_mode::kAuto);
  chkAutoEnd_ = MakeCheck(start, "chkAutoEnd", QStringLiteral("自動変換が終わったら終了する(&E)"),
                          settings.ExecMode & exec_mode::kEndAfterAuto);
  chkAutoEnd_->setEnabled(chkAuto_->isChecked());
  connect(chkAuto_, &QCheckBox::toggled, chkAutoEnd_, &QWidget::setEnabled);
  auto* startLayout = new QVBoxLayout(start);
  startLayout->addWidget(chkAuto_);
  startLayout->addWidget(chkAutoEnd_);

  const DialogButtons buttons = MakeDialogButtons(this, help_topic::kSetup2);
  connect(buttons.ok, &QPushButton::clicked, this, [this] {
    if (cmdExit_Click()) accept();
  });

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(survey);
  layout->addWidget(naming);
  layout->addWidget(start);
  layout->addLayout(ButtonRow(buttons));
  layout->setSizeConstraint(QLayout::SetFixedSize);
}

bool Setup2Dialog::cmdExit_Click() {
  if (txtChkSize_->value() < 100) {
    Exclaim(this, QStringLiteral("ﾌｧｲﾙの調査ｻｲｽﾞが少な過ぎます。100 Byte 以上に設定して下さい。"));
    txtChkSize_->setFocus();
    txtChkSize_->selectAll();
    return false;
  }
  const QString fnc = txtFNCChar_->text();
  if (fnc.isEmpty() || fnc.at(0).unicode() < 0x20 || kBadNameChars.contains(fnc.at(0))) {
    Exclaim(this, QStringLiteral("ﾌｧｲﾙ名の置換文字が不正です。"));
    txtFNCChar_->setFocus();
    txtFNCChar_->selectAll();
    return false;
  }
  settings_.ChkSize = txtChkSize_->value();
  settings_.BinRate = static_cast<std::int16_t>(txtBinRate_->value());
  SetBit(settings_.ConvMode, conv_mode::kFncChar, chkFncChar_->isChecked());
  settings_.FNCChar = fnc.toStdString();
  SetBit(settings_.ExecMode, exec_mode::kAuto, chkAuto_->isChecked());
  SetBit(settings_.ExecMode, exec_mode::kEndAfterAuto, chkAuto_->isChecked() && chkAutoEnd_->isChecked());
  return true;
}

}  // namespace ferrox::ui
