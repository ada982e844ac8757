// The main window end to end.

#include <algorithm>
#include <filesystem>
#include <set>

#include "app/entry_list.h"
#include "app/settings_store.h"
#include "gui_test_support.h"
#include "helpers/binhex_encoder.h"
#include "helpers/macbinary_builder.h"
#include "helpers/scratch_dir.h"
#include "ui/file_dialog.h"
#include "ui/main_window.h"
#include "ui/path_box.h"
#include "ui/text_preview.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QCompleter>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDir>
#include <QElapsedTimer>
#include <QFontMetrics>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QUrl>

using namespace ferrox;
using namespace ferrox::ui;
using ferrox::testing::ReadAll;
namespace fs = std::filesystem;

namespace {

// "日本語" + LF, in EUC-JP, and what the window must turn it into.
const std::string kEucText = "\xc6\xfc\xcb\xdc\xb8\xec\n";
const std::string kSjisText = "\x93\xfa\x96{\x8c\xea\r\n";

void Write(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

// A fresh config folder, work folder (TMP) and data folder, and the store loaded from them.
struct Sandbox {
  testing::ScratchDir root;
  std::string config = root.Path().string() + "/config", work = root.Path().string() + "/work",
              data = root.Path().string() + "/data";
  SettingsStore store{config};
  Sandbox() {
    for (const std::string& dir : {config, work, data}) fs::create_directories(dir);
    qputenv("FERROX_CONFIG_DIR", QByteArray::fromStdString(config));
    qputenv("TMP", QByteArray::fromStdString(work));
    (void)store.Load();
  }
  ~Sandbox() { qunsetenv("TMP"); }  // the next sandbox's temporary folder must not go into this one
  [[nodiscard]] std::string File(const std::string& name) const { return data + "/" + name; }
  // The program's own lock stays while it lives; nothing else may.
  [[nodiscard]] bool WorkFilesLeft() const {
    return std::ranges::any_of(fs::directory_iterator(work), [](const auto& e) { return e.path().extension() != ".lock"; });
  }
};

QLineEdit* Box(QWidget& w, const char* name) { return w.findChild<QLineEdit*>(name); }
QString OutText(QWidget& w) { return Box(w, "txtOutFile")->text(); }
QCheckBox* Check(QWidget& w, const char* name) { return w.findChild<QCheckBox*>(name); }
void SetPaths(MainWindow& w, const std::string& in, const std::string& out) {
  w.SetInFileText(in);
  Box(w, "txtOutFile")->setText(QString::fromStdString(out));
}

// Presses the close button once a run passes `closeAt` percent, as a user would,
// and records the percents shown and how long the close request waited.
class ClosingWindow : public MainWindow {
 public:
  using MainWindow::MainWindow;
  int closeAt = 0;
  std::set<int> percents;
  QElapsedTimer closeClock;
  qint64 closeLatencyMs = -1;
  void ShowProgress(std::int64_t done, std::int64_t total) override {
    MainWindow::ShowProgress(done, total);
    if (total <= 0 || done <= 0) return;
    percents.insert(static_cast<int>(done * 100 / total));
    if (*percents.rbegin() >= closeAt && !closeClock.isValid()) {
      closeClock.start();
      QTimer::singleShot(0, this, [this] { close(); });
    }
  }
  // The window pumps events at most every 25 ms; a fast machine could finish
  // the rest of the file within that time. The pending click must reach the
  // window during the run, as it would with a bigger file.
  void PumpEvents() override {
    if (closeClock.isValid() && closeLatencyMs < 0) QCoreApplication::processEvents();
    MainWindow::PumpEvents();
  }

 protected:
  void closeEvent(QCloseEvent* event) override {
    if (ConvBusy() && closeLatencyMs < 0) closeLatencyMs = closeClock.elapsed();
    MainWindow::closeEvent(event);
  }
};

// Records what the boxes show for each pair the driver announces.
class PairWatcher : public MainWindow {
 public:
  using MainWindow::MainWindow;
  QStringList seen;
  void ShowPair(const JobRequest& request) override {
    MainWindow::ShowPair(request);
    seen << Box(*this, "txtInFile")->text() + " > " + Box(*this, "txtOutFile")->text() +
                (Check(*this, "chkTextCnv")->isChecked() ? " text" : "");
  }
};

// A text file of `lines` lines of 64 bytes, big enough that its conversion spans many event pumps.
void WriteBig(const std::string& path, std::int64_t lines) {
  std::ofstream f(path, std::ios::binary);
  const std::string line = std::string(63, 'x') + "\n";
  for (std::int64_t i = 0; i < lines; ++i) f << line;
}

QString Info(QWidget& w) { return w.findChild<QLabel*>("lblInfo")->text(); }

// Stands for the file manager: records the folders the window asks it to open.
class FileManager : public QObject {
  Q_OBJECT
 public:
  FileManager() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open"); }
  ~FileManager() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }
  QStringList opened;
 public slots:
  void open(const QUrl& url) { opened << url.toLocalFile(); }
};

// Shows the window and waits for the automatic run of its first activation.
void RunAutomatically(MainWindow& w) {
  w.show();
  QTRY_VERIFY(!w.ConvBusy() && w.findChild<QPushButton*>("comFerrox")->isEnabled());
  QTest::qWait(20);
}

}  // namespace

class MainWindowTest : public QObject {
  Q_OBJECT
 private slots:
  void newInputsGetTheirProposals() {
    Sandbox box;
    const std::string euc = box.File("euc.txt"), mac = box.File("download.bin");
    Write(euc, kEucText);
    Write(mac, testing::MacBinaryHeaderBytes({"Read Me", "TEXT", "ttxt", 4, 0, 0, 0}) + "abc\r" +
                   std::string(124, '\0'));
    MainWindow w(box.store, {});
    w.show();
    Check(w, "chkTextCnv")->setChecked(false);
    Check(w, "chkMBCut")->setChecked(true);
    Box(w, "txtInFile")->setText(QString::fromStdString(euc));
    w.txtInFile_Change();  // a text file: itself, converted in place, text conversion only
    QCOMPARE(OutText(w), QString::fromStdString(euc));
    QVERIFY(Check(w, "chkTextCnv")->isChecked() && !Check(w, "chkMBCut")->isChecked());
    w.SetInFileText(mac);  // a MacBinary file: its Mac name in its folder, and the cut
    QCOMPARE(OutText(w), QString::fromStdString(box.File("Read Me.txt")));
    QVERIFY(Check(w, "chkTextCnv")->isChecked() && Check(w, "chkMBCut")->isChecked());
    const std::string hqx = box.File("mail.hqx");  // BinHex alike, binary data fork: the cut only
    Write(hqx, testing::EncodeBinHex({"Photo", "JPEG", "8BIM", std::string("\xff\xd8\0\1", 4), ""}));
    w.SetInFileText(hqx);
    QCOMPARE(OutText(w), QString::fromStdString(box.File("Photo.jpg")));
    QVERIFY(!Check(w, "chkTextCnv")->isChecked() && Check(w, "chkMBCut")->isChecked());
    const std::string list = QuotedList({euc, box.data});
    const std::pair<std::string, std::string> cases[] = {
        {box.data, box.data}, {box.data + "/*.txt", box.data}, {list, list}};
    for (const auto& [in, out] : cases) {
      w.SetInFileText(in);
      QCOMPARE(OutText(w), QString::fromStdString(out));
    }
    // Dropped names become a quoted list, delivered as the drag manager does at the end of a drag.
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(QString::fromStdString(euc)), QUrl::fromLocalFile(QString::fromStdString(mac))});
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    static_cast<QObject*>(Box(w, "txtInFile"))->event(&drop);
    QCOMPARE(Box(w, "txtInFile")->text(), QString::fromStdString(QuotedList({euc, mac})));
    QCOMPARE(OutText(w), QString::fromStdString(QuotedList({euc, box.File("Read Me.txt")})));
  }

  // The convert button, or Enter in either path box; every control has its Alt letter.
  void conversionRunFromTheWindow() {
    for (const char* trigger : {"comFerrox", "txtInFile", "txtOutFile"}) {
      Sandbox box;
      const std::string in = box.File("euc.txt"), out = box.File("sjis.txt");
      Write(in, kEucText);
      test::ScriptedMessages boxes;
      MainWindow w(box.store, {});
      w.show();
      test::CheckKeyboardReach(w);
      SetPaths(w, in, out);
      if (auto* button = w.findChild<QPushButton*>(trigger)) {
        button->click();
      } else {
        QTest::keyClick(Box(w, trigger), Qt::Key_Return);
      }
      QVERIFY2(boxes.texts.isEmpty(), qPrintable(boxes.texts.join('\n')));
      QCOMPARE(ReadAll(out), kSjisText);
      QCOMPARE(ReadAll(in), kEucText);
      QVERIFY(!box.WorkFilesLeft());
      // The boxes show the user's texts again and the window is idle.
      QCOMPARE(OutText(w), QString::fromStdString(out));
      QVERIFY(!w.ConvBusy());
      QVERIFY(w.findChild<QPushButton*>("comFerrox")->isEnabled());
      QVERIFY(!w.findChild<QWidget*>("picCnvMeta")->isVisible());
    }
  }

  // In a folder run each file's check boxes follow its survey, whatever the
  // user ticked; the boxes show each pair, then the user's texts come back.
  void folderRunShowsEachPairThenTheUsersTexts() {
    Sandbox box;
    fs::create_directories(box.File("in"));
    Write(box.File("in/a.txt"), kEucText);
    Write(box.File("in/b.bin"), std::string("\0\1\2\3", 4));
    test::ScriptedMessages boxes;
    PairWatcher w(box.store, {});
    w.show();
    box.store.Settings.FileMode |= file_mode::kFolderSelect;
    SetPaths(w, box.File("in"), box.File("out"));
    Check(w, "chkTextCnv")->setChecked(false);
    w.comFerrox_Click();
    const QString in = QString::fromStdString(box.File("in/")), out = QString::fromStdString(box.File("out/"));
    QCOMPARE(w.seen, QStringList({in + "a.txt > " + out + "a.txt text", in + "b.bin > " + out + "b.bin"}));
    QCOMPARE(ReadAll(box.File("out/a.txt")), kSjisText);
    QCOMPARE(Box(w, "txtInFile")->text(), QString::fromStdString(box.File("in")));
    QCOMPARE(OutText(w), QString::fromStdString(box.File("out")));
  }

  // The close button during a run asks first. Yes cancels the run, leaves no
  // partial output and ends the program; No lets the run finish.
  // FERROX_GUI_LARGE_MB sets the size of the file that finishes (1024 for the
  // 1 GB run); the window's responsiveness is printed, not timed.
  void closeDuringARunCancelsOrLetsItFinish() {
    for (const bool cancel : {true, false}) {
      const int megabytes = cancel ? 40 : std::max(40, qEnvironmentVariableIntValue("FERROX_GUI_LARGE_MB"));
      const std::int64_t lines = std::int64_t{megabytes} * 1024 * 1024 / 64;
      Sandbox box;
      const std::string in = box.File("large.txt"), out = box.File("large-out.txt");
      WriteBig(in, lines);
      test::ScriptedMessages boxes;
      boxes.answers = {cancel ? QMessageBox::Yes : QMessageBox::No};
      ClosingWindow w(box.store, {});
      w.closeAt = cancel ? 0 : 50;
      QSignalSpy closed(&w, &MainWindow::closed);
      w.show();
      SetPaths(w, in, out);
      // A 5 ms timer stands for the user: the longest gap between two ticks is the longest time without an answer.
      QElapsedTimer clock;
      qint64 last = 0, longestGap = 0;
      QTimer tick;
      QObject::connect(&tick, &QTimer::timeout, [&] {
        longestGap = std::max(longestGap, clock.elapsed() - last);
        last = clock.elapsed();
      });
      clock.start();
      tick.start(5);
      w.comFerrox_Click();
      const qint64 total = clock.elapsed();
      QCOMPARE(boxes.texts, QStringList{QStringLiteral("変換作業中ですが中断しますか？")});
      QCOMPARE(boxes.kinds.front(), MsgKind::Question);
      QCOMPARE(closed.count(), cancel ? 1 : 0);  // a cancelled run ends the program
      QVERIFY(!w.ConvBusy());
      if (cancel) {
        QVERIFY(*w.percents.rbegin() < 100);  // the run really was in the middle
        QVERIFY(!fs::exists(out));
        QVERIFY(!box.WorkFilesLeft());
        QCOMPARE(fs::file_size(in), static_cast<std::uintmax_t>(lines) * 64);
        continue;
      }
      QCOMPARE(fs::file_size(out), static_cast<std::uintmax_t>(lines) * 65);  // LF became CR LF
      QVERIFY(*w.percents.begin() < 50 && w.percents.count(100) == 1);      // the progress moved all the way
      QVERIFY(w.isVisible());
      qInfo("%d MB in %lld ms; longest time without answering: %lld ms; close answered after %lld ms; "
            "%zu percents shown", megabytes, total, longestGap, w.closeLatencyMs, w.percents.size());
    }
  }

  void automaticModeConvertsSeveralFilesAndEndsWhenAsked() {
    const std::uint16_t modes[] = {exec_mode::kAuto | exec_mode::kEndAfterAuto, exec_mode::kAuto};
    for (const std::uint16_t mode : modes) {
      Sandbox box;
      box.store.Settings.ExecMode = mode;
      QVERIFY(box.store.Save());
      SettingsStore store(box.config);
      (void)store.Load();
      QStringList args = {QStringLiteral("one.txt")};  // relative to the current folder
      for (const char* name : {"one.txt", "two.txt", "three.txt"}) Write(box.File(name), kEucText);
      for (const char* name : {"two.txt", "three.txt"}) args << QString::fromStdString(box.File(name));
      test::ScriptedMessages boxes;
      const QString cwd = QDir::currentPath();
      QDir::setCurrent(QString::fromStdString(box.data));
      MainWindow w(store, args);
      QSignalSpy closed(&w, &MainWindow::closed);
      w.show();
      if (mode & exec_mode::kEndAfterAuto) {
        QTRY_COMPARE_WITH_TIMEOUT(closed.count(), 1, 10000);
      } else {
        QTRY_COMPARE(ReadAll(box.File("three.txt")), kSjisText);
        RunAutomatically(w);  // idle again: the panel shows the last file, not the first,
        QVERIFY2(Info(w).contains(QStringLiteral("[three.txt]")), qPrintable(Info(w)));
        QVERIFY(!Info(w).contains(QStringLiteral("one.txt")));
        const QFontMetrics metrics(w.findChild<QLabel*>("lblInfo")->font());  // in columns like the report's
        const int column = metrics.horizontalAdvance(QLatin1Char('1'));
        QCOMPARE(metrics.horizontalAdvance(QLatin1Char('W')), column);
        QCOMPARE(metrics.horizontalAdvance(QStringLiteral("日")), 2 * column);
        Box(w, "txtInFile")->setText(QStringLiteral("typed"));
        w.hide();  // only the first activation takes the command line
        w.show();
        QTest::qWait(50);
        QCOMPARE(Box(w, "txtInFile")->text(), QStringLiteral("typed"));
        QCOMPARE(closed.count(), 0);  // the window stays open and idle
        QVERIFY(!w.ConvBusy());
        w.close();
        QCOMPARE(closed.count(), 1);
      }
      QDir::setCurrent(cwd);
      QVERIFY2(boxes.texts.isEmpty(), qPrintable(boxes.texts.join('\n')));
      for (const char* name : {"one.txt", "two.txt", "three.txt"}) QCOMPARE(ReadAll(box.File(name)), kSjisText);
      QVERIFY(!box.WorkFilesLeft());
      // The batch forced its bits only for the run; the saved settings keep the user's.
      SettingsStore after(box.config);
      (void)after.Load();
      QCOMPARE(after.Settings.ExecMode, mode);
      QCOMPARE(after.Settings.FileMode, box.store.Settings.FileMode);
      QCOMPARE(store.Settings.FileMode & file_mode::kBatch, 0);
    }
  }

  // The survey of a folder lists the files a run converts, subfolders
  // included, and the summary after the run counts the same files.
  void folderSurveyListsWhatTheRunConverts() {
    Sandbox box;
    const std::string col = box.File("col");
    for (const char* dir : {"/sub/deep", "/empty"}) fs::create_directories(col + dir);
    const std::vector<std::string> files = {col + "/a.txt", col + "/sub/b.txt", col + "/sub/c.txt", col + "/sub/deep/d.txt"};
    for (const std::string& f : files) Write(f, kEucText);
    Write(files[1], kEucText + "\x1A");  // an end-of-file byte the pass drops
    test::ScriptedMessages boxes;
    MainWindow w(box.store, {});
    w.show();
    w.SetInFileText(col);  // proposed output: the folder itself
    QVERIFY2(Info(w).contains(QStringLiteral("以下の 4 個のファイルが変換対象となります。")), qPrintable(Info(w)));
    for (const std::string& f : files) QVERIFY(Info(w).contains(QString::fromStdString(f)));
    w.findChild<QPushButton*>("comFerrox")->click();
    QVERIFY2(boxes.texts.isEmpty(), qPrintable(boxes.texts.join('\n')));
    for (const std::string& f : files) QCOMPARE(ReadAll(f), kSjisText);
    QVERIFY(w.findChild<QLabel*>("lblSummary")->isVisible());
    QVERIFY(w.findChild<QLabel*>("lblSummary")->text().contains(QStringLiteral("テキスト変換 4 個")));
    QVERIFY(w.findChild<QLabel*>("lblSummary")->text().contains(QStringLiteral("変更のあったファイル 1 個：EOF を削除 1")));
    // The run in place left a backup beside each file: those are not targets of the next run.
    QVERIFY(fs::exists(col + "/a.bak"));
    w.SetInFileText({});
    w.SetInFileText(col);
    QVERIFY2(Info(w).contains(QStringLiteral("以下の 4 個のファイルが変換対象となります。")), qPrintable(Info(w)));
    QVERIFY(!Info(w).contains(QStringLiteral(".bak")));
  }

  // After a run: what happened to each kind of file, and a button that opens
  // the output folder in the file manager.
  void summaryAfterARunAndTheOutputFolder() {
    Sandbox box;
    const std::string text = box.File("t.txt"), binary = box.File("b.dat");
    Write(text, kEucText);
    Write(binary, std::string("\x00\x01\x02\xff\x00\x00binary\x00", 13) + std::string(200, '\0'));
    fs::create_directories(box.File("out"));
    test::ScriptedMessages boxes;
    FileManager files;
    MainWindow w(box.store, {});
    w.show();
    SetPaths(w, QuotedList({text, binary}), QuotedList({box.File("out/t.txt"), box.File("out/b.dat")}));
    w.findChild<QPushButton*>("comFerrox")->click();
    QVERIFY2(boxes.texts.isEmpty(), qPrintable(boxes.texts.join('\n')));
    const QString summary = w.findChild<QLabel*>("lblSummary")->text();
    QVERIFY2(summary.contains(QStringLiteral("テキスト変換 1 個、そのままコピー 1 個、変換不要 0 個")), qPrintable(summary));
    QVERIFY(fs::exists(box.File("out/b.dat")));
    w.findChild<QPushButton*>("cmdOpenOutput")->click();
    QCOMPARE(files.opened, QStringList{QString::fromStdString(box.File("out"))});
    QTest::keyClicks(Box(w, "txtInFile"), "x");  // a new entry: the old summary goes
    QVERIFY(!w.findChild<QLabel*>("lblSummary")->isVisible());
  }

  // The boxes remember their entries and the choosers their folders, in the
  // settings file, across program runs.
  void pathBoxesRemember() {
    Sandbox box;
    const std::string in = box.File("euc.txt"), out = box.File("sjis.txt");
    Write(in, kEucText);
    {
      test::ScriptedMessages boxes;
      MainWindow w(box.store, {});
      w.show();
      SetPaths(w, in, out);
      w.comFerrox_Click();
      w.close();
    }
    SettingsStore store(box.config);
    (void)store.Load();
    QCOMPARE(store.Settings.ConvMode, box.store.Settings.ConvMode);  // the record's keys are untouched
    MainWindow w(store, {});
    w.show();
    QCOMPARE(w.findChild<PathBox*>("txtInFile")->History(), QStringList{QString::fromStdString(in)});
    QCOMPARE(w.findChild<PathBox*>("txtOutFile")->History(), QStringList{QString::fromStdString(out)});
    // Down shows the history; Enter on an entry takes it and converts nothing.
    test::ScriptedMessages boxes;
    fs::remove(out);
    auto* inBox = w.findChild<PathBox*>("txtInFile");
    inBox->setFocus();
    QTest::keyClick(inBox, Qt::Key_Down);
    QAbstractItemView* list = inBox->completer()->popup();
    QTRY_VERIFY(list->isVisible());
    QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Return);
    QCOMPARE(inBox->text(), QString::fromStdString(in));
    QTest::qWait(20);
    QVERIFY2(boxes.texts.isEmpty(), qPrintable(boxes.texts.join('\n')));
    QVERIFY(!fs::exists(out));
    SetPaths(w, "", "");  // empty boxes: the choosers start in the remembered folders
    QStringList startedIn;
    const FileDialogHandler previous = SetFileDialogHandler([&](const FileDialogRequest& r) {
      startedIn << r.initialPath;
      return QStringList{};
    });
    w.findChild<QPushButton*>("comInFile")->click();
    w.findChild<QPushButton*>("comOutFile")->click();
    SetFileDialogHandler(previous);
    QCOMPARE(startedIn, (QStringList{QString::fromStdString(box.data), QString::fromStdString(box.data)}));
  }

  // The preview is the converter's own output; the survey warns of text that
  // reads as Shift JIS and as EUC alike, and of a missing gaiji table.
  void previewAndSurveyWarnings() {
    Sandbox box;
    ConversionSettings s = box.store.Settings;
    s.ConvMode |= 256;  // the plain tie rule, so this kana line stays undecided
    const std::string kanji = box.File("kanji.txt"), kana = box.File("kana.txt");
    Write(kanji, kEucText + "second\n");
    Write(kana, "\xa5\xab\xa5\xbf\xa5\xab\xa5\xca\n");
    FileSurvey survey;
    QCOMPARE(ConvertedHead({kanji, true, 12}, survey, s, nullptr), QStringLiteral("日本語\nsecond"));
    QVERIFY(ConvertedHead({kanji, false, 12}, survey, s, nullptr).contains(QStringLiteral("そのまま")));
    QVERIFY(TieWarning(kanji, survey, s).isEmpty());
    QVERIFY(!TieWarning(kana, survey, s).isEmpty());
    // In the panel too, with a missing gaiji table (conversions would give 〓 for every gaiji).
    box.store.Settings.ConvMode = s.ConvMode | conv_mode::kGaijiTable;
    for (const bool missing : {true, false}) {
      box.store.Settings.GaijiTable = box.File(missing ? "nosuch.txt" : "kanji.txt");
      MainWindow w(box.store, {});
      w.SetInFileText(kana);
      QVERIFY(Info(w).contains(TieWarning(kana, survey, s)));
      QCOMPARE(Info(w).contains(QStringLiteral("外字変換定義ﾌｧｲﾙ [")), missing);
    }
  }
};

QTEST_MAIN(MainWindowTest)
#include "gui_main_window_test.moc"
