#pragma once
// fomMain: the main window. It hands the batch driver the two box texts and
// the check boxes, shows what the driver tells it (the pair being converted,
// messages, progress), carries ConvBusy, and is the door to every other
// window.

#include <memory>

// ferrox
#include "analysis/file_survey.h"
#include "app/conv_window.h"
#include "app/path_memory.h"
#include "convert/change_account.h"

// Qt
#include <QElapsedTimer>
#include <QStringList>
#include <QWidget>

class QCheckBox;
class QFrame;
class QGridLayout;
class QHBoxLayout;
class QLabel;
class QPushButton;
class QTimer;

namespace ferrox {
class ConvDriver;
struct RunRequest;
class SettingsStore;
}  // namespace ferrox

namespace ferrox::ui {

class PathBox;

class MainWindow : public QWidget, public ConvWindow {
  Q_OBJECT
 public:
  // `arguments`: the command-line names, taken into the input box at the
  // first activation (and converted at once in automatic mode).
  MainWindow(SettingsStore& store, QStringList arguments, QWidget* parent = nullptr);
  ~MainWindow() override;

  // The input box, as typed: writing it proposes the output and the check boxes.
  [[nodiscard]] std::string InFileText() const;
  void SetInFileText(const std::string& text);

  // ConvWindow
  void ShowPair(const JobRequest& request) override;
  void SetConvBusy(bool busy) override;
  void Message(const std::string& text) override;
  void AllEnabled(bool enabled) override;
  void ProgressPanel(bool on) override;
  // ProgressSink
  void PumpEvents() override;
  [[nodiscard]] bool ConvBusy() const override;
  void ShowProgress(std::int64_t done, std::int64_t total) override;
  void Changes(const std::string& path, const ChangeCounts& counts) override;

  // The convert button: runs the batch and acts on its result.
  void comFerrox_Click();
  // The survey button: the report window of the current input.
  void cmdInfo_Click();
  // Surveys the input box and proposes the output and the check boxes.
  void txtInFile_Change();
  // Opens the folder of the last run's output in the file manager.
  void cmdOpenOutput_Click();

  // Shortest time between two event pumps during long work.
  static constexpr int kPumpIntervalMs = 25;

 signals:
  // The window accepted a close: the program ends.
  void closed();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  // The window's parts, made once by the constructor.
  QGridLayout* MakePathRows();
  QHBoxLayout* MakeCheckRow();
  QGridLayout* MakeInfoPanel();
  void MakeSummary();
  QHBoxLayout* MakeButtonRow();
  void ConnectControls();

  void Form_Activate();
  void comInFile_Click();
  void comOutFile_Click();
  void comVirsion_Click();
  void OpenGaiji(QWidget* owner);
  void OpenSuffix(QWidget* owner);
  void OpenSetup2(QWidget* owner);
  void OpenAbout(QWidget* owner);
  [[nodiscard]] std::string OutFileText() const;
  void SetOutFileText(const std::string& text);
  // The run the convert button asks for: the box texts and, for one file, the check boxes.
  [[nodiscard]] RunRequest MakeRunRequest() const;
  // The information panel and the report of the input box as it stands.
  void ShowInfo();
  // After a run that ended well: what it did, the output folder, the histories.
  void RunFinished();
  void HideSummary();
  void LoadHistories();
  [[nodiscard]] QString EntryFromArguments() const;

  SettingsStore& store_;
  QStringList arguments_;
  std::unique_ptr<ConvDriver> driver_;
  FileSurvey survey_;
  SilentProgress quiet_;  // the proposals' surveys are short; they pump nothing
  bool convBusy_ = false;
  bool runStarted_ = false;  // the driver began the run (past its first checks)
  bool activationPending_ = true;
  QElapsedTimer pumpClock_;
  int shownPercent_ = -1;

  PathBox* txtInFile_;
  PathBox* txtOutFile_;
  QPushButton* comInFile_;
  QPushButton* comOutFile_;
  QCheckBox* chkMBCut_;
  QCheckBox* chkTextCnv_;
  QPushButton* comFerrox_;
  QPushButton* cmdInfo_;
  QLabel* lblInfolbl_;
  QLabel* lblInfo_;
  QFrame* picCnvMeta_;
  QFrame* picCnvSub_;
  QLabel* lblCnvSub_;
  QLabel* lblCnvSub2_;
  QPushButton* cmdHelp_;
  QPushButton* comVirsion_;
  QPushButton* cmdExit_;
  QTimer* inputTimer_;
  QFrame* summary_;
  QLabel* lblSummary_;
  QPushButton* cmdOpenOutput_;
  QString outputFolder_;  // of the last run, for cmdOpenOutput
  ChangeCounts runChanges_;  // what the run dropped or replaced, over all its files
  int filesChanged_ = 0;
  PathMemory paths_;

  // Saved by ProgressPanel(true), put back by ProgressPanel(false).
  bool savedMBCutEnabled_ = true;
  QString savedInfoCaption_;
  QString lastReport_;  // the report of the current input, CR LF
};

}  // namespace ferrox::ui
