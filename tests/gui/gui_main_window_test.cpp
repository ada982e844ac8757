// The main window end to end: proposals for a new input, a conversion from
// the window, cancel through the close button in the middle of a run, the
// command line at the first activation, and automatic mode.

#include <filesystem>
#include <fstream>
#include <sstream>

// ferrox
#include "app/entry_list.h"
#include "app/settings_store.h"
#include "gui_test_support.h"
#include "helpers/macbinary_builder.h"
#include "suffix/file_name_rec.h"
#include "ui/main_window.h"

// Qt
#include <QCheckBox>
#include <QCloseEvent>
#include <QDir>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include <set>

using namespace ferrox;
using namespace ferrox::ui;
namespace fs = std::filesystem;

namespace {

// "日本語" + LF, in EUC-JP, and what the window must turn it into.
const std::string kEucText = "\xc6\xfc\xcb\xdc\xb8\xec\n";
const std::string kSjisText = "\x93\xfa\x96{\x8c\xea\r\n";

std::string Read(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

void Write(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// A text file big enough that its conversion spans many event pumps.
constexpr int kBigLines = 640000;
constexpr std::uintmax_t kBigLineBytes = 64;
void WriteBig(const std::string& path) {
  std::ofstream f(path, std::ios::binary);
  const std::string line = std::string(kBigLineBytes - 1, 'x') + "\n";
  for (int i = 0; i < kBigLines; ++i) f << line;
}

std::vector<std::string> WorkFilesIn(const std::string& folder) {
  std::vector<std::string> out;
  for (const auto& e : fs::directory_iterator(folder)) {
    const std::string name = e.path().filename().string();
    if (name.starts_with("FRX")) out.push_back(name);
  }
  return out;
}

// A fresh config folder, work folder and data folder for each test.
struct Sandbox {
  QTemporaryDir root;
  std::string config = root.filePath("config").toStdString();
  std::string work = root.filePath("work").toStdString();
  std::string data = root.filePath("data").toStdString();
  Sandbox() {
    fs::create_directories(config);
    fs::create_directories(work);
    fs::create_directories(data);
    qputenv("FERROX_CONFIG_DIR", QByteArray::fromStdString(config));
    qputenv("TMP", QByteArray::fromStdString(work));
  }
  [[nodiscard]] std::string File(const std::string& name) const { return data + "/" + name; }
};

QLineEdit* Box(QWidget& w, const char* name) { return w.findChild<QLineEdit*>(name); }
QCheckBox* Check(QWidget& w, const char* name) { return w.findChild<QCheckBox*>(name); }

// Closes the window as soon as the pass has written a first block, as a user
// pressing the close button in the middle of a run would.
class ClosingWindow : public MainWindow {
 public:
  using MainWindow::MainWindow;
  int lowest = 101;
  int highest = -1;
  bool closeAsked = false;
  void ShowProgress(std::int64_t done, std::int64_t total) override {
    MainWindow::ShowProgress(done, total);
    if (total <= 0 || done <= 0) return;
    const int percent = static_cast<int>(done * 100 / total);
    lowest = std::min(lowest, percent);
    highest = std::max(highest, percent);
    if (!closeAsked) {
      closeAsked = true;
      QTimer::singleShot(0, this, [this] { close(); });
    }
  }
};

// Watches a long run: which percents were shown, and how long a close
// request waited before the close handler asked its question.
class ProbeWindow : public MainWindow {
 public:
  using MainWindow::MainWindow;
  std::set<int> percents;
  QElapsedTimer closeClock;
  qint64 closeLatencyMs = -1;
  void ShowProgress(std::int64_t done, std::int64_t total) override {
    MainWindow::ShowProgress(done, total);
    const int percent = total > 0 ? static_cast<int>(done * 100 / total) : 100;
    percents.insert(percent);
    if (percent >= 50 && !closeClock.isValid()) {
      closeClock.start();
      QTimer::singleShot(0, this, [this] { close(); });
    }
  }

 protected:
  void closeEvent(QCloseEvent* event) override {
    if (ConvBusy() && closeClock.isValid() && closeLatencyMs < 0) closeLatencyMs = closeClock.elapsed();
    MainWindow::closeEvent(event);
  }
};

}  // namespace

class MainWindowTest : public QObject {
  Q_OBJECT
 private slots:
  void newTextInputProposesItselfAndTextConversion() {
    Sandbox box;
    SettingsStore store(box.config);
    (void)store.Load();
    const std::string in = box.File("euc.txt");
    Write(in, kEucText);
    MainWindow w(store, {});
    Check(w, "chkTextCnv")->setChecked(false);
    Check(w, "chkMBCut")->setChecked(true);
    Box(w, "txtInFile")->setText(QString::fromStdString(in));
    w.txtInFile_Change();
    QCOMPARE(Box(w, "txtOutFile")->text(), QString::fromStdString(in));
    QVERIFY(Check(w, "chkTextCnv")->isChecked());
    QVERIFY(!Check(w, "chkMBCut")->isChecked());
  }

  void macBinaryInputProposesItsMacNameAndTheCut() {
    Sandbox box;
    SettingsStore store(box.config);
    (void)store.Load();
    const std::string in = box.File("download.bin");
    Write(in, testing::MacBinaryHeaderBytes({"Read Me", "TEXT", "ttxt", 4, 0, 0, 0}) + "abc\r" +
                  std::string(124, '\0'));
    const std::string macName = FileNameRec(store.Suffixes, store.Settings, "Read Me", "TEXT", "ttxt");
    QVERIFY(!macName.empty());
    MainWindow w(store, {});
    Check(w, "chkMBCut")->setChecked(false);
    w.SetInFileText(in);
    QCOMPARE(Box(w, "txtOutFile")->text(), QString::fromStdString(box.data + "/" + macName));
    QVERIFY(Check(w, "chkMBCut")->isChecked());
    QVERIFY(Check(w, "chkTextCnv")->isChecked());
  }

  void folderWildcardAndListProposals() {
    Sandbox box;
    SettingsStore store(box.config);
    (void)store.Load();
    Write(box.File("a.txt"), "a\n");
    Write(box.File("b.txt"), "b\n");
    MainWindow w(store, {});
    w.SetInFileText(box.data);
    QCOMPARE(Box(w, "txtOutFile")->text(), QString::fromStdString(box.data));
    w.SetInFileText(box.data + "/*.txt");
    QCOMPARE(Box(w, "txtOutFile")->text(), QString::fromStdString(box.data));
    const std::string list = QuotedList({box.File("a.txt"), box.data});
    w.SetInFileText(list);
    QCOMPARE(Box(w, "txtOutFile")->text(), QString::fromStdString(list));
  }

  void droppedFilesBecomeAQuotedList() {
    Sandbox box;
    SettingsStore store(box.config);
    (void)store.Load();
    Write(box.File("a.txt"), "a\n");
    Write(box.File("b c.txt"), "b\n");
    MainWindow w(store, {});
    w.show();
    QLineEdit* in = Box(w, "txtInFile");
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(QString::fromStdString(box.File("a.txt"))),
                  QUrl::fromLocalFile(QString::fromStdString(box.File("b c.txt")))});
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    // Straight to the box, as the drag manager delivers it at the end of a drag.
    static_cast<QObject*>(in)->event(&drop);
    const QString expected =
        QString::fromStdString(QuotedList({box.File("a.txt"), box.File("b c.txt")}));
    QCOMPARE(in->text(), expected);
    QCOMPARE(Box(w, "txtOutFile")->text(), expected);
  }

  void conversionRunFromTheWindow() {
    Sandbox box;
    SettingsStore store(box.config);
    (void)store.Load();
    const std::string in = box.File("euc.txt");
    const std::string out = box.File("sjis.txt");
    Write(in, kEucText);
    test::ScriptedMessages boxes;
    MainWindow w(store, {});
    w.show();
    w.SetInFileText(in);
    Box(w, "txtOutFile")->setText(QString::fromStdString(out));
    w.findChild<QPushButton*>("comFerrox")->click();
    QVERIFY2(boxes.texts.isEmpty(), qPrintable(boxes.texts.join('\n')));
    QCOMPARE(Read(out), kSjisText);
    QCOMPARE(Read(in), kEucText);
    QVERIFY(WorkFilesIn(box.work).empty());
    // The boxes show the user's texts again and the window is idle.
    QCOMPARE(Box(w, "txtOutFile")->text(), QString::fromStdString(out));
    QVERIFY(!w.ConvBusy());
    QVERIFY(w.findChild<QPushButton*>("comFerrox")->isEnabled());
    QVERIFY(!w.findChild<QWidget*>("picCnvMeta")->isVisible());
  }

  void aMissingInputGivesItsMessage() {
    Sandbox box;
    SettingsStore store(box.config);
    (void)store.Load();
    test::ScriptedMessages boxes;
    MainWindow w(store, {});
    Box(w, "txtInFile")->setText(QStringLiteral("   "));
    w.comFerrox_Click();
    QCOMPARE(boxes.texts, QStringList{QStringLiteral("入力ﾌｧｲﾙが指定されていません")});
  }

  void closeButtonCancelsARunAndLeavesNoPartialOutput() {
    Sandbox box;
    SettingsStore store(box.config);
    (void)store.Load();
    const std::string in = box.File("big.txt");
    const std::string out = box.File("big-out.txt");
    WriteBig(in);
    test::ScriptedMessages boxes;
    boxes.answers = {QMessageBox::Yes};
    ClosingWindow w(store, {});
    QSignalSpy closed(&w, &MainWindow::closed);
    w.show();
    w.SetInFileText(in);
    Box(w, "txtOutFile")->setText(QString::fromStdString(out));
    w.comFerrox_Click();
    QCOMPARE(boxes.texts, QStringList{QStringLiteral("変換作業中ですが中断しますか？")});
    QCOMPARE(boxes.kinds.front(), MsgKind::Question);
    QVERIFY(w.closeAsked);
    QVERIFY(w.highest < 100);  // the run really was in the middle
    QVERIFY(!fs::exists(out));
    QVERIFY(WorkFilesIn(box.work).empty());
    QCOMPARE(fs::file_size(in), kBigLineBytes * kBigLines);
    QCOMPARE(closed.count(), 1);  // a cancelled run ends the program
    QVERIFY(!w.ConvBusy());
  }

  void answeringNoLetsTheRunFinish() {
    Sandbox box;
    SettingsStore store(box.config);
    (void)store.Load();
    const std::string in = box.File("big.txt");
    const std::string out = box.File("big-out.txt");
    WriteBig(in);
    test::ScriptedMessages boxes;
    boxes.answers = {QMessageBox::No};
    ClosingWindow w(store, {});
    QSignalSpy closed(&w, &MainWindow::closed);
    w.show();
    w.SetInFileText(in);
    Box(w, "txtOutFile")->setText(QString::fromStdString(out));
    w.comFerrox_Click();
    QCOMPARE(boxes.texts.size(), 1);
    QCOMPARE(fs::file_size(out), (kBigLineBytes + 1) * kBigLines);  // LF became CR LF
    QCOMPARE(closed.count(), 0);
    QVERIFY(w.isVisible());
  }

  // Not a timing test: it prints how responsive the window stays during a
  // long conversion. Runs only when FERROX_GUI_LARGE_MB names a size.
  void largeFileKeepsTheWindowAnswering() {
    const int megabytes = qEnvironmentVariableIntValue("FERROX_GUI_LARGE_MB");
    if (megabytes <= 0) QSKIP("set FERROX_GUI_LARGE_MB to run");
    Sandbox box;
    SettingsStore store(box.config);
    (void)store.Load();
    const std::string in = box.File("large.txt");
    const std::string out = box.File("large-out.txt");
    const std::int64_t lines = std::int64_t{megabytes} * 1024 * 1024 / 64;
    {
      std::ofstream f(in, std::ios::binary);
      const std::string line = std::string(63, 'x') + "\n";
      for (std::int64_t i = 0; i < lines; ++i) f << line;
    }
    test::ScriptedMessages boxes;
    boxes.answers = {QMessageBox::No};
    ProbeWindow w(store, {});
    w.show();
    w.SetInFileText(in);
    Box(w, "txtOutFile")->setText(QString::fromStdString(out));
    // A 5 ms timer stands for the user: the longest gap between two of its
    // ticks is the longest time the window did not answer.
    QElapsedTimer clock;
    qint64 last = 0;
    qint64 longestGap = 0;
    QTimer tick;
    tick.setInterval(5);
    QObject::connect(&tick, &QTimer::timeout, [&] {
      const qint64 now = clock.elapsed();
      longestGap = std::max(longestGap, now - last);
      last = now;
    });
    clock.start();
    tick.start();
    w.comFerrox_Click();
    const qint64 total = clock.elapsed();
    tick.stop();
    QCOMPARE(boxes.texts, QStringList{QStringLiteral("変換作業中ですが中断しますか？")});
    QVERIFY(w.percents.size() > 50);
    QVERIFY(w.percents.count(100) == 1);
    QCOMPARE(fs::file_size(out), static_cast<std::uintmax_t>(lines) * 65);
    qInfo("%d MB converted in %lld ms (%.0f MB/s); longest time without answering: %lld ms; "
          "close answered after %lld ms; %zu distinct percents shown",
          megabytes, total, megabytes * 1000.0 / static_cast<double>(std::max<qint64>(total, 1)), longestGap,
          w.closeLatencyMs, w.percents.size());
  }

  void commandLineFillsTheInputBoxOnlyAtTheFirstActivation() {
    Sandbox box;
    SettingsStore store(box.config);
    (void)store.Load();
    Write(box.File("a.txt"), kEucText);
    Write(box.File("b.txt"), kEucText);
    const QString cwd = QDir::currentPath();
    QDir::setCurrent(QString::fromStdString(box.data));
    MainWindow w(store, {QStringLiteral("a.txt"), QString::fromStdString(box.File("b.txt"))});
    w.show();
    const QString expected = QString::fromStdString(QuotedList({box.File("a.txt"), box.File("b.txt")}));
    QTRY_COMPARE(Box(w, "txtInFile")->text(), expected);
    QDir::setCurrent(cwd);
    QCOMPARE(Box(w, "txtOutFile")->text(), expected);
    QCOMPARE(Read(box.File("a.txt")), kEucText);  // ExecMode 0: nothing converted
    Box(w, "txtInFile")->setText(QStringLiteral("typed"));
    w.hide();
    w.show();
    QTest::qWait(50);
    QCOMPARE(Box(w, "txtInFile")->text(), QStringLiteral("typed"));
  }

  void automaticModeConvertsSeveralFilesAndEnds() {
    Sandbox box;
    {
      SettingsStore first(box.config);
      (void)first.Load();
      first.Settings.ExecMode = exec_mode::kAuto | exec_mode::kEndAfterAuto;
      QVERIFY(first.Save());
    }
    SettingsStore store(box.config);
    (void)store.Load();
    QCOMPARE(store.Settings.ExecMode, std::uint16_t{3});
    QStringList args;
    for (const char* name : {"one.txt", "two.txt", "three.txt"}) {
      Write(box.File(name), kEucText);
      args << QString::fromStdString(box.File(name));
    }
    test::ScriptedMessages boxes;
    MainWindow w(store, args);
    QSignalSpy closed(&w, &MainWindow::closed);
    w.show();
    QTRY_COMPARE_WITH_TIMEOUT(closed.count(), 1, 10000);
    QVERIFY2(boxes.texts.isEmpty(), qPrintable(boxes.texts.join('\n')));
    for (const char* name : {"one.txt", "two.txt", "three.txt"}) {
      QCOMPARE(Read(box.File(name)), kSjisText);  // converted in place
    }
    QVERIFY(WorkFilesIn(box.work).empty());
    // The batch forced its bits only for the run; the saved settings keep the user's.
    SettingsStore after(box.config);
    (void)after.Load();
    QCOMPARE(after.Settings.ExecMode, std::uint16_t{3});
    QCOMPARE(after.Settings.FileMode, store.Settings.FileMode);
    QCOMPARE(store.Settings.FileMode & file_mode::kBatch, 0);
  }

  void automaticModeWithoutEndLeavesTheWindowOpenAndIdle() {
    Sandbox box;
    SettingsStore store(box.config);
    (void)store.Load();
    store.Settings.ExecMode = exec_mode::kAuto;
    Write(box.File("one.txt"), kEucText);
    test::ScriptedMessages boxes;
    MainWindow w(store, {QString::fromStdString(box.File("one.txt"))});
    QSignalSpy closed(&w, &MainWindow::closed);
    w.show();
    QTRY_COMPARE(Read(box.File("one.txt")), kSjisText);
    QTest::qWait(50);
    QCOMPARE(closed.count(), 0);
    QVERIFY(!w.ConvBusy());
    w.close();  // not busy: closes without a question
    QCOMPARE(closed.count(), 1);
    QVERIFY(boxes.texts.isEmpty());
  }
};

QTEST_MAIN(MainWindowTest)
#include "gui_main_window_test.moc"
