// fomMain: layout, the ConvWindow side, the proposals for a new input and the
// first activation (command line and automatic mode).

#include "ui/main_window.h"

// ferrox
#include "analysis/survey_report.h"
#include "app/conv_driver.h"
#include "app/engine_settings.h"
#include "app/entry_list.h"
#include "app/input_proposal.h"
#include "app/mac_batch_names.h"
#include "app/path_helpers.h"
#include "app/settings_store.h"
#include "suffix/file_name_rec.h"
#include "ui/about_dialog.h"
#include "ui/file_dialog.h"
#include "ui/fixed_font.h"
#include "ui/gaiji_dialog.h"
#include "ui/help_window.h"
#include "ui/message_box.h"
#include "ui/option_widgets.h"
#include "ui/path_box.h"
#include "ui/report_window.h"
#include "ui/setup2_dialog.h"
#include "ui/setup_dialog.h"
#include "ui/suffix_set_dialog.h"
#include "ui/text_preview.h"

// Qt
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

namespace ferrox::ui {
namespace {

const QString kInfoCaption = QStringLiteral("ﾌｧｲﾙ情報：");
const QString kProgressCaption = QStringLiteral("進行状況：");

QString Percent(int percent) { return QStringLiteral(" %1 %").arg(percent); }

// The progress panel: a sunken box with a bar growing from the left. The
// percent shows twice, dark over the empty part and light inside the bar.
class ProgressMeta : public QFrame {
 public:
  explicit ProgressMeta(QWidget* parent) : QFrame(parent) {
    setFrameStyle(QFrame::Panel | QFrame::Sunken);
    setFixedHeight(24);
    bar = new QFrame(this);
    bar->setObjectName(QStringLiteral("picCnvSub"));
    bar->setAutoFillBackground(true);
    QPalette barPalette = bar->palette();
    barPalette.setColor(QPalette::Window, barPalette.color(QPalette::Highlight));
    barPalette.setColor(QPalette::WindowText, barPalette.color(QPalette::HighlightedText));
    bar->setPalette(barPalette);
    outer = new QLabel(this);
    outer->setObjectName(QStringLiteral("lblCnvSub"));
    outer->setAlignment(Qt::AlignCenter);
    inner = new QLabel(bar);
    inner->setObjectName(QStringLiteral("lblCnvSub2"));
    inner->setAlignment(Qt::AlignCenter);
    outer->lower();
  }

  void SetPercent(int value) {
    percent = value;
    const QRect area = contentsRect();
    bar->setGeometry(area.x(), area.y(), area.width() * percent / 100, area.height());
    outer->setGeometry(area);
    inner->setGeometry(0, 0, area.width(), area.height());
    outer->setText(Percent(percent));
    inner->setText(Percent(percent));
  }

  QFrame* bar;
  QLabel* outer;
  QLabel* inner;
  int percent = 0;

 protected:
  void resizeEvent(QResizeEvent* event) override {
    QFrame::resizeEvent(event);
    SetPercent(percent);
  }
};

}  // namespace

MainWindow::MainWindow(SettingsStore& store, QStringList arguments, QWidget* parent)
    : QWidget(parent), store_(store), arguments_(std::move(arguments)) {
  setObjectName(QStringLiteral("fomMain"));
  setWindowTitle(QStringLiteral("Ferrox"));
  driver_ = std::make_unique<ConvDriver>(*this, store_.Settings, &store_.Gaiji);
  driver_->SetSuffixTable(&store_.Suffixes);

  auto* paths = MakePathRows();
  auto* checks = MakeCheckRow();
  auto* info = MakeInfoPanel();
  MakeSummary();
  auto* buttons = MakeButtonRow();
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(paths);
  layout->addLayout(checks);
  layout->addWidget(lblInfolbl_);
  layout->addLayout(info, 1);
  layout->addWidget(summary_);
  layout->addLayout(buttons);
  QWidget* const tabOrder[] = {txtInFile_, comInFile_, txtOutFile_,    comOutFile_, chkMBCut_, chkTextCnv_,
                               cmdInfo_,   comFerrox_, cmdOpenOutput_, comVirsion_, cmdHelp_,  cmdExit_};
  for (std::size_t i = 1; i < std::size(tabOrder); ++i) {
    setTabOrder(tabOrder[i - 1], tabOrder[i]);
  }
  resize(560, 380);

  ConnectControls();
  paths_ = LoadPathMemory(store_.SettingsFile());
  LoadHistories();
}

QGridLayout* MainWindow::MakePathRows() {
  auto* inLabel = new QLabel(QStringLiteral("入力ﾌｧｲﾙ(&I)："), this);
  txtInFile_ = new PathBox(PathBox::DropMode::List, this);
  txtInFile_->setObjectName(QStringLiteral("txtInFile"));
  inLabel->setBuddy(txtInFile_);
  comInFile_ = MakeButton(this, "comInFile", QStringLiteral("参照(&B)..."));
  auto* outLabel = new QLabel(QStringLiteral("出力ﾌｧｲﾙ(&O)："), this);
  txtOutFile_ = new PathBox(PathBox::DropMode::List, this);
  txtOutFile_->setObjectName(QStringLiteral("txtOutFile"));
  outLabel->setBuddy(txtOutFile_);
  comOutFile_ = MakeButton(this, "comOutFile", QStringLiteral("参照(&W)..."));

  auto* paths = new QGridLayout;
  paths->addWidget(inLabel, 0, 0);
  paths->addWidget(txtInFile_, 0, 1);
  paths->addWidget(comInFile_, 0, 2);
  paths->addWidget(outLabel, 1, 0);
  paths->addWidget(txtOutFile_, 1, 1);
  paths->addWidget(comOutFile_, 1, 2);
  paths->setColumnStretch(1, 1);
  return paths;
}

QHBoxLayout* MainWindow::MakeCheckRow() {
  chkMBCut_ = new QCheckBox(QStringLiteral("MacBinaryを外す(&M)"), this);
  chkMBCut_->setObjectName(QStringLiteral("chkMBCut"));
  chkMBCut_->setChecked(true);
  chkTextCnv_ = new QCheckBox(QStringLiteral("テキストを変換する(&T)"), this);
  chkTextCnv_->setObjectName(QStringLiteral("chkTextCnv"));
  chkTextCnv_->setChecked(true);
  cmdInfo_ = MakeButton(this, "cmdInfo", QStringLiteral("調査結果(&R)..."));

  auto* checks = new QHBoxLayout;
  checks->addWidget(chkMBCut_);
  checks->addWidget(chkTextCnv_);
  checks->addStretch(1);
  checks->addWidget(cmdInfo_);
  return checks;
}

// The information panel, with the progress panel over it during a run.
QGridLayout* MainWindow::MakeInfoPanel() {
  lblInfolbl_ = new QLabel(kInfoCaption, this);
  lblInfolbl_->setObjectName(QStringLiteral("lblInfolbl"));
  lblInfo_ = new QLabel(this);
  lblInfo_->setObjectName(QStringLiteral("lblInfo"));
  lblInfo_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  lblInfo_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  lblInfo_->setWordWrap(true);
  lblInfo_->setFont(JapaneseFixedFont());  // the report's columns line up as in the report window
  auto* infoArea = new QScrollArea(this);
  infoArea->setWidget(lblInfo_);
  infoArea->setWidgetResizable(true);
  infoArea->setMinimumHeight(170);
  auto* meta = new ProgressMeta(this);
  picCnvMeta_ = meta;
  picCnvMeta_->setObjectName(QStringLiteral("picCnvMeta"));
  picCnvSub_ = meta->bar;
  lblCnvSub_ = meta->outer;
  lblCnvSub2_ = meta->inner;
  picCnvMeta_->hide();

  auto* info = new QGridLayout;
  info->addWidget(infoArea, 0, 0);
  info->addWidget(picCnvMeta_, 0, 0, Qt::AlignTop);
  return info;
}

// The summary of the last run, with the button that opens its output folder.
void MainWindow::MakeSummary() {
  summary_ = new QFrame(this);
  summary_->setObjectName(QStringLiteral("fraSummary"));
  summary_->setFrameStyle(QFrame::StyledPanel | QFrame::Plain);
  lblSummary_ = new QLabel(summary_);
  lblSummary_->setObjectName(QStringLiteral("lblSummary"));
  lblSummary_->setWordWrap(true);
  cmdOpenOutput_ = MakeButton(summary_, "cmdOpenOutput", QStringLiteral("出力ﾌｫﾙﾀﾞを開く(&F)"));
  auto* summaryRow = new QHBoxLayout(summary_);
  summaryRow->addWidget(lblSummary_, 1);
  summaryRow->addWidget(cmdOpenOutput_);
  summary_->hide();

}

QHBoxLayout* MainWindow::MakeButtonRow() {
  comFerrox_ = MakeButton(this, "comFerrox", QStringLiteral("変換(&C)"));
  comFerrox_->setDefault(true);
  comVirsion_ = MakeButton(this, "comVirsion", QStringLiteral("設定(&S)..."));
  cmdHelp_ = MakeButton(this, "cmdHelp", QStringLiteral("ﾍﾙﾌﾟ(&H)"));
  cmdExit_ = MakeButton(this, "cmdExit", QStringLiteral("終了(&X)"));

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(comFerrox_);
  buttons->addStretch(1);
  buttons->addWidget(comVirsion_);
  buttons->addWidget(cmdHelp_);
  buttons->addWidget(cmdExit_);
  return buttons;
}

void MainWindow::ConnectControls() {
  inputTimer_ = new QTimer(this);
  inputTimer_->setSingleShot(true);
  inputTimer_->setInterval(350);
  connect(inputTimer_, &QTimer::timeout, this, &MainWindow::txtInFile_Change);
  connect(txtInFile_, &QLineEdit::textEdited, inputTimer_, qOverload<>(&QTimer::start));
  connect(txtInFile_, &PathBox::dropped, this, &MainWindow::txtInFile_Change);
  connect(txtInFile_, &QLineEdit::textEdited, this, &MainWindow::HideSummary);
  connect(txtOutFile_, &QLineEdit::textEdited, this, &MainWindow::HideSummary);
  // Enter in a path box is the default button, as in a dialog.
  for (PathBox* pathBox : {txtInFile_, txtOutFile_}) {
    connect(pathBox, &QLineEdit::returnPressed, this, [this] {
      if (comFerrox_->isEnabled()) comFerrox_->click();
    });
  }
  // A history entry picked from the input box's list is a new input.
  connect(txtInFile_, &PathBox::historyPicked, this, &MainWindow::txtInFile_Change);
  connect(cmdOpenOutput_, &QPushButton::clicked, this, &MainWindow::cmdOpenOutput_Click);
  connect(comInFile_, &QPushButton::clicked, this, &MainWindow::comInFile_Click);
  connect(comOutFile_, &QPushButton::clicked, this, &MainWindow::comOutFile_Click);
  connect(comFerrox_, &QPushButton::clicked, this, &MainWindow::comFerrox_Click);
  connect(cmdInfo_, &QPushButton::clicked, this, &MainWindow::cmdInfo_Click);
  connect(comVirsion_, &QPushButton::clicked, this, &MainWindow::comVirsion_Click);
  connect(cmdHelp_, &QPushButton::clicked, this, [this] { ShowHelp(this, help_topic::kMain); });
  connect(cmdExit_, &QPushButton::clicked, this, &QWidget::close);
}

MainWindow::~MainWindow() = default;

// ---- ConvWindow ----------------------------------------------------------

std::string MainWindow::InFileText() const { return txtInFile_->text().toStdString(); }

void MainWindow::SetInFileText(const std::string& text) {
  txtInFile_->SetTextAtEnd(QString::fromStdString(text));
  txtInFile_Change();
}

void MainWindow::ShowPair(const JobRequest& request) {
  txtInFile_->SetTextAtEnd(QString::fromStdString(request.input));
  txtOutFile_->SetTextAtEnd(QString::fromStdString(request.output));
  chkTextCnv_->setChecked((request.flags & kJobText) != 0);
  chkMBCut_->setChecked((request.flags & kJobMacBinaryCut) != 0);
}

std::string MainWindow::OutFileText() const { return txtOutFile_->text().toStdString(); }

void MainWindow::SetOutFileText(const std::string& text) {
  txtOutFile_->SetTextAtEnd(QString::fromStdString(text));
}

void MainWindow::SetConvBusy(bool busy) {
  convBusy_ = busy;
  runStarted_ = runStarted_ || busy;
}
bool MainWindow::ConvBusy() const { return convBusy_; }
void MainWindow::Message(const std::string& text) { Exclaim(this, QString::fromStdString(text)); }

void MainWindow::AllEnabled(bool enabled) {
  for (QWidget* control : std::initializer_list<QWidget*>{
           txtInFile_, txtOutFile_, comInFile_, comOutFile_, chkMBCut_, chkTextCnv_, comFerrox_, cmdInfo_,
           cmdHelp_, comVirsion_, cmdExit_}) {
    control->setEnabled(enabled);
  }
  if (!enabled) inputTimer_->stop();
}

void MainWindow::ProgressPanel(bool on) {
  if (on) {
    savedMBCutEnabled_ = chkMBCut_->isEnabled();
    QApplication::setOverrideCursor(Qt::WaitCursor);
    shownPercent_ = -1;
    ShowProgress(0, 1);
    picCnvMeta_->show();
    picCnvMeta_->raise();
    lblInfo_->parentWidget()->parentWidget()->hide();
    savedInfoCaption_ = lblInfolbl_->text();
    lblInfolbl_->setText(kProgressCaption);
    pumpClock_.invalidate();
    PumpEvents();
  } else {
    chkMBCut_->setEnabled(savedMBCutEnabled_);
    QApplication::restoreOverrideCursor();
    picCnvMeta_->hide();
    lblInfo_->parentWidget()->parentWidget()->show();
    lblInfolbl_->setText(savedInfoCaption_);
  }
}

void MainWindow::PumpEvents() {
  // Called once per 8192-byte block: pumping every time would cost more than
  // the conversion itself, so the window is served every few tens of ms.
  if (pumpClock_.isValid() && pumpClock_.elapsed() < kPumpIntervalMs) return;
  QCoreApplication::processEvents(QEventLoop::AllEvents);
  pumpClock_.start();
}

void MainWindow::ShowProgress(std::int64_t done, std::int64_t total) {
  const int percent = total > 0 ? static_cast<int>(std::min<std::int64_t>(100, done * 100 / total)) : 100;
  if (percent == shownPercent_) return;
  shownPercent_ = percent;
  static_cast<ProgressMeta*>(picCnvMeta_)->SetPercent(percent);
}

// ---- proposals ----------------------------------------------------------

void MainWindow::txtInFile_Change() {
  inputTimer_->stop();
  const std::string entry = InFileText();
  const InputProposal proposal = ProposeForInput(entry, survey_, store_.Settings, store_.Suffixes, quiet_);
  if (proposal.output) SetOutFileText(*proposal.output);
  if (proposal.boxes) {
    chkTextCnv_->setChecked(proposal.boxes->textCnv);
    chkMBCut_->setChecked(proposal.boxes->mbCut);
  }
  ShowInfo();
}

void MainWindow::ShowInfo() {
  const std::string entry = InFileText();
  const ConversionSettings& s = store_.Settings;
  const std::string name = NormalizeEntry(entry);
  // Several files: the very files a run of the two boxes would convert.
  std::vector<std::string> planned;
  if (!IsFile(name) && !TrimBlanks(entry).empty()) planned = driver_->PlannedInputs(entry, OutFileText());
  std::string report =
      InfoTextSet(survey_, name, planned, ReportOf(s), LookupIn(store_.Suffixes), quiet_, SidecarBeside(name));
  if (!report.empty() && IsFile(name)) {
    QString tie = TieWarning(name, survey_, s);
    if (!tie.isEmpty()) report += "\r\n" + tie.replace(QLatin1Char('\n'), QStringLiteral("\r\n")).toStdString() + "\r\n";
  }
  if (!report.empty() && (s.ConvMode & conv_mode::kGaijiTable) != 0) {
    const std::string gaijiTable = store_.GaijiTablePath();
    if (!IsFile(gaijiTable)) {
      report += "\r\n外字変換定義ﾌｧｲﾙ [" + gaijiTable + "] が見つかりません。外字は全て〓になります。\r\n";
    }
  }
  lastReport_ = QString::fromStdString(report);
  QString shown = lastReport_;
  shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  lblInfo_->setText(shown.trimmed());
}

RunRequest MainWindow::MakeRunRequest() const {
  RunRequest request{InFileText(), OutFileText(), {}, {}};
  // FileMode bit 2: the check boxes follow each file's survey even in a one-file run.
  if ((store_.Settings.FileMode & file_mode::kBatch) == 0) {
    request.oneFile = {chkTextCnv_->isChecked(), chkMBCut_->isChecked()};
  }
  return request;
}

// ---- buttons ----------------------------------------------------------

void MainWindow::comFerrox_Click() {
  inputTimer_->stop();
  HideSummary();
  const RunRequest request = MakeRunRequest();
  runChanges_ = {};
  filesChanged_ = 0;
  runStarted_ = false;
  const RunResult result = driver_->Ferrox_Click_Etc(request);
  if (runStarted_) {
    // The boxes showed each pair during the run; the user's texts come back.
    SetInFileText(request.input);
    SetOutFileText(request.output);
  }
  if (result == RunResult::Done) RunFinished();
  switch (result) {
    case RunResult::SettingsSide:
      if (chkTextCnv_->isEnabled()) chkTextCnv_->setFocus();
      break;
    case RunResult::OutputSide: txtOutFile_->setFocus(); break;
    case RunResult::InputSide: txtInFile_->setFocus(); break;
    case RunResult::Done:
      QApplication::beep();
      cmdExit_->setFocus();
      break;
    case RunResult::Cancelled: close(); break;  // the user chose to stop: the program ends
  }
}

void MainWindow::cmdInfo_Click() {
  txtInFile_Change();
  std::optional<std::uint16_t> flags;
  const std::string name = NormalizeEntry(InFileText());
  if (IsFile(name)) {
    const ConversionSettings& s = store_.Settings;
    MacBinaryInfo info;
    std::uint16_t word = 0;
    const SurveyKind kind = survey_.FileTypeChk(name, SurveyOf(s), quiet_, info, word);
    if (Surveyed(kind)) flags = word;
  }
  ReportWindow report(lastReport_, txtInFile_->text(), flags, this);
  if (flags) {
    const QString head = ConvertedHead({name, chkTextCnv_->isChecked()}, survey_, store_.Settings, &store_.Gaiji);
    report.SetPreview(head, TieWarning(name, survey_, store_.Settings));
  }
  report.exec();
}

void MainWindow::comInFile_Click() {
  const QString start = txtInFile_->text().trimmed().startsWith(QLatin1Char('"')) || txtInFile_->text().isEmpty()
                            ? QString::fromStdString(paths_.inFolder)
                            : txtInFile_->text();
  const QStringList chosen =
      ShowFileDialog({this, FileDialogMode::OpenMany, QStringLiteral("入力ﾌｧｲﾙの選択"), kFilterAll, start});
  if (chosen.isEmpty()) return;
  paths_.inFolder = GetParentFolder(chosen.first().toStdString());
  txtInFile_->SetTextAtEnd(JoinEntry(chosen));
  txtInFile_Change();
}

void MainWindow::comOutFile_Click() {
  const std::string in = NormalizeEntry(InFileText());
  const bool folder = HasWildcard(in) || IsFolder(in);
  const QString start = txtOutFile_->text().trimmed().startsWith(QLatin1Char('"')) || txtOutFile_->text().isEmpty()
                            ? QString::fromStdString(paths_.outFolder)
                            : txtOutFile_->text();
  const QStringList chosen =
      ShowFileDialog({this, folder ? FileDialogMode::Folder : FileDialogMode::Save,
                      folder ? QStringLiteral("出力ﾌｫﾙﾀﾞの選択") : QStringLiteral("出力ﾌｧｲﾙの選択"),
                      kFilterAll, start});
  if (chosen.isEmpty()) return;
  txtOutFile_->SetTextAtEnd(chosen.first());
  paths_.outFolder = folder ? chosen.first().toStdString() : GetParentFolder(chosen.first().toStdString());
}

void MainWindow::comVirsion_Click() {
  SetupDialog setup(store_.Settings, this);
  setup.openGaiji = [this](QWidget* owner) { OpenGaiji(owner); };
  setup.openSuffix = [this](QWidget* owner) { OpenSuffix(owner); };
  setup.openSetup2 = [this](QWidget* owner) { OpenSetup2(owner); };
  setup.openAbout = [this](QWidget* owner) { OpenAbout(owner); };
  if (setup.exec() == QDialog::Accepted) txtInFile_Change();
}

void MainWindow::OpenGaiji(QWidget* owner) {
  GaijiDialog dialog(store_.Settings, store_.Gaiji, owner);
  dialog.exec();
}

void MainWindow::OpenSuffix(QWidget* owner) {
  SuffixSetDialog dialog(store_.Settings, store_.Suffixes, store_.SuffixTableChanged, owner);
  dialog.exec();
}

void MainWindow::OpenSetup2(QWidget* owner) {
  Setup2Dialog dialog(store_.Settings, owner);
  dialog.exec();
}

void MainWindow::OpenAbout(QWidget* owner) {
  AboutDialog dialog(owner);
  dialog.exec();
}

// ---- after a run ----------------------------------------------------------

namespace {

// The folder that holds what a run wrote: the output folder itself, or the
// folder of the (first) output file.
std::string OutputFolderOf(const std::string& outBox) {
  const std::vector<std::string> outputs = TrimLeftBlanks(outBox).starts_with('"')
                                               ? CommaToDim(outBox)
                                               : std::vector<std::string>{NormalizeEntry(outBox)};
  if (outputs.empty() || outputs.front().empty()) return {};
  const std::string& first = outputs.front();
  if (IsFolder(first)) return first;
  const std::string parent = GetParentFolder(first);
  return parent.empty() ? CurrentFolder() : parent;
}

}  // namespace

void MainWindow::RunFinished() {
  const ConvDriver::Tally& tally = driver_->LastRun();
  QString summary = QStringLiteral("変換完了：テキスト変換 %1 個、そのままコピー %2 個、変換不要 %3 個")
                        .arg(tally.converted)
                        .arg(tally.copied)
                        .arg(tally.skipped);
  if (filesChanged_ > 0) {
    summary += QStringLiteral("\n変更のあったファイル %1 個：").arg(filesChanged_) +
               QString::fromStdString(ChangeSummary(runChanges_));
  }
  runChanges_ = {};
  filesChanged_ = 0;
  lblSummary_->setText(summary);
  outputFolder_ = QString::fromStdString(OutputFolderOf(OutFileText()));
  cmdOpenOutput_->setEnabled(!outputFolder_.isEmpty());
  summary_->show();

  PathMemory::Remember(paths_.inHistory, InFileText());
  PathMemory::Remember(paths_.outHistory, OutFileText());
  const std::string in = NormalizeEntry(InFileText());
  if (!TrimLeftBlanks(InFileText()).starts_with('"')) {
    paths_.inFolder = IsFolder(in) ? in : GetParentFolder(in);
  }
  if (!outputFolder_.isEmpty()) paths_.outFolder = outputFolder_.toStdString();
  LoadHistories();
}

void MainWindow::HideSummary() { summary_->hide(); }

void MainWindow::Changes(const std::string& /*path*/, const ChangeCounts& counts) {
  for (std::size_t k = 0; k < kChangeKinds; ++k) runChanges_.n[k] += counts.n[k];
  ++filesChanged_;
}

void MainWindow::cmdOpenOutput_Click() {
  if (outputFolder_.isEmpty()) return;
  if (!QDesktopServices::openUrl(QUrl::fromLocalFile(outputFolder_))) {
    Exclaim(this, QStringLiteral("ﾌｫﾙﾀﾞ [") + outputFolder_ + QStringLiteral("] を開けませんでした"));
  }
}

void MainWindow::LoadHistories() {
  const auto toList = [](const std::vector<std::string>& history) {
    QStringList list;
    for (const std::string& entry : history) list << QString::fromStdString(entry);
    return list;
  };
  txtInFile_->SetHistory(toList(paths_.inHistory));
  txtOutFile_->SetHistory(toList(paths_.outHistory));
}

// ---- life cycle ----------------------------------------------------------

void MainWindow::closeEvent(QCloseEvent* event) {
  if (convBusy_) {
    if (AskYesNo(this, QStringLiteral("変換作業中ですが中断しますか？"))) convBusy_ = false;
    event->ignore();
    return;
  }
  store_.Settings.Left = x();
  store_.Settings.Top = y();
  if (!store_.Save() || !SavePathMemory(store_.SettingsFile(), paths_)) {
    Exclaim(this, QStringLiteral("設定ﾌｧｲﾙ [") + QString::fromStdString(store_.SettingsFile()) +
                      QStringLiteral("] に保存できませんでした"));
  }
  event->accept();
  emit closed();
}

void MainWindow::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (activationPending_) QTimer::singleShot(0, this, &MainWindow::Form_Activate);
}

QString MainWindow::EntryFromArguments() const {
  const std::string cwd = CurrentFolder();
  std::vector<std::string> names;
  for (const QString& argument : arguments_) {
    const std::string text = argument.toStdString();
    if (HasWildcard(text)) {
      names.push_back(text);
      continue;
    }
    // Folders and files alike become absolute paths without a trailing "/".
    names.push_back(NormalizeEntry(MakeAbsolute(text, cwd)));
  }
  if (names.empty()) return {};
  if (names.size() == 1) return QString::fromStdString(names.front());
  return QString::fromStdString(QuotedList(names));
}

void MainWindow::Form_Activate() {
  if (!activationPending_) return;
  if (convBusy_) {
    // A run began before the first activation came round (it pumps events):
    // the command line must not start a second run inside it.
    activationPending_ = false;
    return;
  }
  const std::uint16_t exec = store_.Settings.ExecMode;
  const bool automatic = (exec & exec_mode::kAuto) != 0;
  if (automatic) {
    convBusy_ = true;
  } else {
    activationPending_ = false;
  }
  const QString entry = EntryFromArguments();
  if (!entry.isEmpty()) {
    txtInFile_->SetTextAtEnd(entry);
    txtInFile_Change();
  }
  txtOutFile_->SetTextAtEnd(txtOutFile_->text());
  if (automatic) {
    QCoreApplication::processEvents();
    const RunResult result = driver_->Ferrox_Click_Etc(MakeRunRequest());
    // A run refused before it started leaves the flag set; the window is idle now.
    convBusy_ = false;
    activationPending_ = false;
    if (result == RunResult::Done) {
      QApplication::beep();
      RunFinished();
    }
    ShowInfo();  // the panel shows the last file of the run, not the first
    if ((exec & exec_mode::kEndAfterAuto) != 0 || result == RunResult::Cancelled) {
      close();
      return;
    }
  }
  activationPending_ = false;
}

}  // namespace ferrox::ui
