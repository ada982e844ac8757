// The options, gaiji, report and suffix table dialogs: OK stores, bad values refused, Cancel changes
// nothing; help over a modal dialog, keyboard reach, Qt's own texts in Japanese, the start-up check.

#include <optional>

#include "convert/gaiji_table.h"
#include "gui_test_support.h"
#include "helpers/scratch_dir.h"
#include "suffix/suffix_edit_rules.h"
#include "ui/about_dialog.h"
#include "ui/app_icon.h"
#include "ui/gaiji_dialog.h"
#include "ui/report_window.h"
#include "ui/setup2_dialog.h"
#include "ui/setup_dialog.h"
#include "ui/startup.h"
#include "ui/suffix_edit_dialog.h"
#include "ui/suffix_set_dialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPointer>
#include <QScrollBar>
#include <QTextBrowser>
#include <QTimer>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTest>

using namespace ferrox;
using namespace ferrox::ui;

namespace {
template <typename T>
T* Find(QWidget& w, const char* name) { return w.findChild<T*>(name); }

const SuffixEntry kTxt{"txt", "TEXT", "", "テキスト"};
const SuffixEntry kGif{"gif", "GIFf", "", "GIF画像"};
const SuffixEntry kAny{"bin", "*", "", "何でも"};

// The editor on a table of txt, gif and bin, with the edit dialog replaced by `nextEdit`.
struct Fixture {
  ConversionSettings settings;
  SuffixTable table;
  bool changed = false;
  std::optional<SuffixEntry> nextEdit;  // what the edit dialog "returns"
  SuffixEntry lastShown;                // the row it was opened on
  test::ScriptedMessages boxes;
  std::optional<SuffixSetDialog> dialog;
  QListWidget* list = nullptr;

  explicit Fixture(std::initializer_list<SuffixEntry> rows = {kTxt, kGif, kAny}) {
    settings.FileMode = 117;  // bit 64 set
    for (const SuffixEntry& r : rows) table.Append(r);
    dialog.emplace(settings, table, changed);
    dialog->editRow = [this](QWidget*, SuffixEditDialog::Mode, const SuffixEntry& row) {
      lastShown = row;
      return nextEdit;
    };
    list = dialog->findChild<QListWidget*>("lstSuffix");
  }
  QStringList Extensions() const {
    QStringList out;
    for (const SuffixEntry& r : dialog->Copy().Rows()) out << QString::fromStdString(r.Extension);
    return out;
  }
  QString Count() const { return dialog->findChild<QLabel*>("lblNum")->text(); }
  bool Enabled(const char* button) const { return dialog->findChild<QPushButton*>(button)->isEnabled(); }
};
}  // namespace

class DialogsTest : public QObject {
  Q_OBJECT
 private slots:
  void setupShowsAndStoresItsFieldsOnOkOnly() {
    for (const char* button : {"cmdCancel", "cmdExit"}) {
      ConversionSettings s;
      s.ConvMode = 12 | 2 | 16;  // bits 2 and 16 belong to other dialogs
      s.FileMode = 117;          // 1, 4, 16, 32, 64
      SetupDialog dialog(s);
      for (const char* name : {"chkJisEuc", "chkGaijiChar", "chkFolder"}) {
        QVERIFY(Find<QCheckBox>(dialog, name)->isChecked());
      }
      for (const char* name : {"chkEof", "chkDeleteInput", "chkMacNames"}) QVERIFY(!Find<QCheckBox>(dialog, name)->isChecked());
      QVERIFY(Find<QRadioButton>(dialog, "optBackup")->isChecked());
      Find<QCheckBox>(dialog, "chkJisEuc")->setChecked(false);
      Find<QCheckBox>(dialog, "chkEof")->setChecked(true);
      Find<QSpinBox>(dialog, "txtLineSize")->setValue(72);
      Find<QRadioButton>(dialog, "optTrash")->setChecked(true);
      Find<QCheckBox>(dialog, "chkDeleteInput")->setChecked(true);
      Find<QCheckBox>(dialog, "chkMacDates")->setChecked(false);
      Find<QCheckBox>(dialog, "chkMacNames")->setChecked(true);
      Find<QPushButton>(dialog, button)->click();
      const bool ok = std::string(button) == "cmdExit";
      QCOMPARE(s.ConvMode, std::uint16_t(ok ? 1 | 2 | 8 | 16 : 12 | 2 | 16));
      QCOMPARE(s.LineSize, std::int16_t(ok ? 72 : 0));
      // bit 1 off, 128, 256 and 512 on, 4 off; 16, 32 and 64 kept.
      QCOMPARE(s.FileMode, std::uint16_t(ok ? 16 | 32 | 64 | 128 | 256 | 512 : 117));
    }
  }

  void setupOpensTheOtherWindowsThroughItsHooks() {
    ConversionSettings s;
    SetupDialog dialog(s);
    QStringList opened;
    dialog.openGaiji = [&](QWidget*) { opened << "gaiji"; };
    dialog.openSuffix = [&](QWidget*) {
      opened << "suffix";
      s.FileMode = static_cast<std::uint16_t>(s.FileMode & ~64);  // as the editor's OK would
    };
    dialog.openSetup2 = [&](QWidget*) { opened << "setup2"; };
    dialog.openAbout = [&](QWidget*) { opened << "about"; };
    for (const char* name : {"cmdGaiji", "cmdSuffix", "cmdSetup2", "cmdVersion"}) {
      Find<QPushButton>(dialog, name)->click();
    }
    QCOMPARE(opened, (QStringList{"gaiji", "suffix", "setup2", "about"}));
    dialog.cmdExit_Click();  // the editor cleared bit 64; this dialog's OK must not put it back
    QCOMPARE(s.FileMode & 64, 0);
  }

  void setup2RefusesBadValuesAndStoresTheRest() {
    ConversionSettings s;
    test::ScriptedMessages boxes;
    Setup2Dialog dialog(s);
    Find<QSpinBox>(dialog, "txtChkSize")->setValue(99);
    Find<QSpinBox>(dialog, "txtBinRate")->setValue(10);
    Find<QPushButton>(dialog, "cmdExit")->click();
    QCOMPARE(boxes.texts, QStringList{QStringLiteral("ﾌｧｲﾙの調査ｻｲｽﾞが少な過ぎます。100 Byte 以上に設定して下さい。")});
    QCOMPARE(dialog.result(), int(QDialog::Rejected));  // still open, nothing stored
    QCOMPARE(s.ChkSize, 10000);
    QCOMPARE(s.BinRate, std::int16_t{3});
    Find<QSpinBox>(dialog, "txtChkSize")->setValue(100);
    auto* fnc = Find<QLineEdit>(dialog, "txtFNCChar");
    QCOMPARE(fnc->text(), QStringLiteral("_"));
    Find<QCheckBox>(dialog, "chkFncChar")->setChecked(true);
    fnc->setText(QStringLiteral("*"));  // a character no file name may hold
    QVERIFY(!dialog.cmdExit_Click());
    QCOMPARE(boxes.texts.size(), 2);
    fnc->setText(QStringLiteral("＿"));
    auto* autoEnd = Find<QCheckBox>(dialog, "chkAutoEnd");
    QVERIFY(!autoEnd->isEnabled());
    Find<QCheckBox>(dialog, "chkAuto")->setChecked(true);
    QVERIFY(autoEnd->isEnabled());
    autoEnd->setChecked(true);
    QVERIFY(dialog.cmdExit_Click());
    QCOMPARE(s.ChkSize, 100);
    QCOMPARE(s.BinRate, std::int16_t{10});
    QCOMPARE(s.ConvMode, std::uint16_t{12 | 2});
    QCOMPARE(s.FNCChar, std::string("＿"));
    QCOMPARE(s.ExecMode, std::uint16_t{3});
  }

  void gaijiOkStoresTheBitAndPathAndReloadsTheTableCancelChangesNothing() {
    testing::ScratchDir dir;
    const std::string file = dir.Write("mine.txt", "8740,(1)\r\n8741,(2)\r\n").string();
    // ConvMode before, check box, button; ConvMode and table records after.
    const std::tuple<std::uint16_t, bool, const char*, std::uint16_t, std::size_t> cases[] = {
        {12 | 1, true, "cmdExit", 12 | 1 | 16, 3},  // record 0 and the two lines
        {12 | 16 | 2, false, "cmdExit", 12 | 2, 3},
        {12, true, "cmdCancel", 12, 1}};
    for (const auto& [before, checked, button, after, records] : cases) {
      ConversionSettings s;
      s.ConvMode = before;
      s.GaijiTable = "/old/GaiTbl.txt";
      GaijiTable table;
      test::ScriptedMessages boxes;
      GaijiDialog dialog(s, table);
      auto* check = Find<QCheckBox>(dialog, "chkGaijiConv");
      auto* path = Find<QLineEdit>(dialog, "txtGaijiTable");
      QCOMPARE(check->isChecked(), (before & 16) != 0);
      QCOMPARE(path->text(), QStringLiteral("/old/GaiTbl.txt"));
      check->setChecked(checked);
      QCOMPARE(path->isEnabled(), checked);
      QCOMPARE(Find<QPushButton>(dialog, "cmdGaijiTable")->isEnabled(), checked);
      path->setText(QString::fromStdString(file));
      Find<QPushButton>(dialog, button)->click();
      QCOMPARE(s.ConvMode, after);
      QCOMPARE(s.GaijiTable, std::string(records > 1 ? file : "/old/GaiTbl.txt"));
      QCOMPARE(table.Records().size(), records);
      if (records > 1) QCOMPARE(table.GaijiTableSearch(0x87, 0x41), std::size_t{2});
      QVERIFY(boxes.texts.isEmpty());
    }
    // A table that is not there is refused while replacement is on: the
    // dialog stays open and nothing is stored. Off, any path is kept as typed.
    for (const bool checked : {true, false}) {
      ConversionSettings s;
      s.ConvMode = 12;
      GaijiTable table;
      test::ScriptedMessages boxes;
      GaijiDialog dialog(s, table);
      dialog.show();
      Find<QCheckBox>(dialog, "chkGaijiConv")->setChecked(checked);
      Find<QLineEdit>(dialog, "txtGaijiTable")->setText(QString::fromStdString(dir.Path().string() + "/nosuch.txt"));
      Find<QPushButton>(dialog, "cmdExit")->click();
      QCOMPARE(dialog.isVisible(), checked);
      QCOMPARE(boxes.texts.size(), checked ? 1 : 0);
      if (checked) {
        QVERIFY(boxes.texts.front().contains(QStringLiteral("nosuch.txt] が見つかりません")));
        QCOMPARE(s.ConvMode, std::uint16_t{12});
      } else {
        QCOMPARE(s.GaijiTable, dir.Path().string() + "/nosuch.txt");
      }
    }
  }

  void reportIsSavedAsCp932WithCrLf() {
    testing::ScratchDir dir;
    const QString path = QString::fromStdString((dir.Path() / "report.txt").string());
    const QString report = QStringLiteral("--- [a.txt]の調査結果 ---\r\nサイズ  :12 Byte\r\n\r\nテキストファイルです。");
    ReportWindow window(report, QStringLiteral("/tmp/a.txt"), std::uint16_t{0x0112});
    QVERIFY(window.SaveReport(path));
    QCOMPARE(testing::ReadAll(path.toStdString()),
             std::string("--- [a.txt]\x82\xcc\x92\xb2\x8d\xb8\x8c\x8b\x89\xca ---\r\n"
                         "\x83T\x83""C\x83Y  :12 Byte\r\n\r\n"
                         "\x83""e\x83L\x83X\x83g\x83t\x83@\x83""C\x83\x8b\x82\xc5\x82\xb7\x81""B\r\n"));
    QCOMPARE(SurveyFlagsLine(0x0112).left(13), QStringLiteral("調査結果コード: 0112"));
    test::ScriptedMessages boxes;
    QVERIFY(!window.SaveReport(QStringLiteral("/nonexistent-folder/r.txt")));
    QCOMPARE(boxes.kinds, std::vector<MsgKind>{MsgKind::Exclamation});
  }

  // Help asked for from a modal dialog (here one opened from another) comes
  // up beside it and takes keys while the dialogs are open, and still does
  // when the inner one closes; it stays when both are gone.
  void helpFromModalDialogsIsUsable() {
    ConversionSettings s;
    SetupDialog setup(s);
    setup.move(300, 200);
    QPointer<QWidget> help;
    QTextBrowser* text = nullptr;
    const auto scrolls = [&] {  // a key through the window system, where modal dialogs block other windows
      text->verticalScrollBar()->setValue(0);
      QTest::keyClick(help->windowHandle(), Qt::Key_PageDown);
      return text->verticalScrollBar()->value() > 0;
    };
    QList<bool> answered;
    QTimer::singleShot(0, &setup, [&] {
      Setup2Dialog inner(s, &setup);
      QTimer::singleShot(0, &inner, [&] {
        Find<QPushButton>(inner, "cmdHelp")->click();
        for (QWidget* top : QApplication::topLevelWidgets()) {
          if (top->objectName() == QLatin1String("fomHelp") && top->isVisible()) help = top;
        }
        if (!help) return inner.reject();
        QTest::qWait(100);  // laid out and painted
        text = help->findChild<QTextBrowser*>("txtHelp");
        text->setFocus();
        answered << scrolls();
        inner.reject();
      });
      inner.exec();
      if (help) answered << scrolls();
      setup.reject();
    });
    setup.exec();
    QVERIFY(help);
    QCOMPARE(answered, (QList<bool>{true, true}));
    QVERIFY(help->isVisible());  // closing the dialogs did not take the help with them
    QVERIFY(help->parentWidget() == nullptr);
    const QPoint offset = help->geometry().center() - setup.geometry().center();
    QVERIFY2(offset.manhattanLength() < 300, "help opens beside the dialog, not in a corner");
    help->close();
  }

  void startUpCheckNamesWhatIsMissingOnLinux() {
    test::ScriptedMessages boxes;
    QVERIFY(CheckJapaneseRuntime(nullptr, true));
    QVERIFY(boxes.texts.isEmpty());
    QVERIFY(!CheckJapaneseRuntime(nullptr, false));
    QCOMPARE(boxes.kinds, std::vector<MsgKind>{MsgKind::Critical});
    const QString& text = boxes.texts.front();
    QVERIFY(text.contains(QStringLiteral("CP932")) && text.contains(QStringLiteral("C ライブラリ")) && !text.contains("DLL"));
  }

  void everyControlHasAMnemonicAndATabStop() {
    ConversionSettings s;
    SuffixTable table;
    bool changed = false;
    SetupDialog setup(s);
    Setup2Dialog setup2(s);
    GaijiTable gaiji;
    GaijiDialog gaijiDialog(s, gaiji);
    SuffixSetDialog suffixes(s, table, changed);
    SuffixEditDialog edit(SuffixEditDialog::Mode::Append, SuffixEntry{});
    ReportWindow report(QStringLiteral("r"), QStringLiteral("/tmp/a.txt"), std::uint16_t{0x0112});
    report.SetPreview(QStringLiteral("p"), {});
    for (QWidget* dialog : std::initializer_list<QWidget*>{&setup, &setup2, &gaijiDialog, &suffixes, &edit, &report}) {
      test::CheckKeyboardReach(*dialog);
    }
  }

  // The icon's pictures are built into the program (a static library's
  // resources are easily left out), so the about box never shows a blank.
  void aboutBoxShowsTheProgramIcon() {
    AboutDialog about;
    const QPixmap shown = about.findChild<QLabel*>("imgIcon")->pixmap();
    QVERIFY(!shown.isNull());
    QCOMPARE(shown.size(), QSize(64, 64));
    QVERIFY(AppIcon().availableSizes().contains(QSize(16, 16)));
  }

  void qtTextsAreJapanese() {
    QVERIFY(LoadQtJapanese());
    QMessageBox box(QMessageBox::Question, {}, {}, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(box.button(QMessageBox::Yes)->text().remove(QLatin1Char('&')).left(2), QStringLiteral("はい"));
    QFileDialog chooser;
    chooser.setOption(QFileDialog::DontUseNativeDialog);
    auto* nameLabel = chooser.findChild<QLabel*>("fileNameLabel");
    QVERIFY(nameLabel != nullptr);
    QVERIFY2(nameLabel->text().contains(QStringLiteral("ファイル名")), qPrintable(nameLabel->text()));
  }

  // The suffix table editor and its edit dialog.
  void addAndChange() {
    Fixture f;
    f.list->setCurrentRow(1);
    f.nextEdit = SuffixEntry{"xls", "XLS*", "XCEL", "Excel"};
    f.dialog->cmdAppend_Click();  // after the selection
    QCOMPARE(f.Extensions(), (QStringList{"txt", "gif", "xls", "bin"}));
    QCOMPARE(f.list->currentRow(), 2);
    f.list->setCurrentRow(-1);
    f.nextEdit = SuffixEntry{"pic", "PICT", "", ""};
    f.dialog->cmdAppend_Click();  // nothing selected: to the top
    QCOMPARE(f.Extensions().first(), QStringLiteral("pic"));
    f.nextEdit.reset();  // a cancelled edit adds nothing
    f.dialog->cmdAppend_Click();
    QCOMPARE(f.list->count(), 5);
    QCOMPARE(f.Count(), QStringLiteral("(1/5)"));

    f.list->setCurrentRow(2);
    f.nextEdit = SuffixEntry{"gif2", "GIFf", "", "changed"};
    f.dialog->cmdUpdate_Click();
    QCOMPARE(f.lastShown, kGif);  // the edit dialog opened on the selected row
    QCOMPARE(f.Extensions(), (QStringList{"pic", "txt", "gif2", "xls", "bin"}));
    QCOMPARE(f.list->item(2)->text(), QString::fromStdString(SuffixListLine(*f.nextEdit)));
  }

  void deleteAsksAndActsOnlyOnOk() {
    Fixture f;
    f.list->setCurrentRow(0);
    f.boxes.answers = {QMessageBox::Cancel};
    f.dialog->cmdDelete_Click();
    QCOMPARE(f.dialog->Copy().RowCount(), 3u);
    QCOMPARE(f.boxes.texts.last(), QString::fromStdString(SuffixDeleteQuestion(kTxt)));
    f.boxes.answers = {QMessageBox::Ok};
    f.dialog->cmdDelete_Click();
    QCOMPARE(f.Extensions(), (QStringList{"gif", "bin"}));
    QCOMPARE(f.list->currentRow(), 0);
    f.list->setFocus();  // the Delete key on the list does the same
    f.list->setCurrentRow(1);
    f.boxes.answers = {QMessageBox::Ok};
    QTest::keyClick(f.list, Qt::Key_Delete);
    QCOMPARE(f.Extensions(), (QStringList{"gif"}));
    f.boxes.answers = {QMessageBox::Ok};
    f.dialog->cmdDelete_Click();
    QCOMPARE(f.list->count(), 0);
    QCOMPARE(f.Count(), QStringLiteral("(0)"));
    QVERIFY(!f.Enabled("cmdUpdate") && !f.Enabled("cmdDelete"));
  }

  void moveKeepsTheSelectionOnTheMovedRow() {
    Fixture f;
    f.list->setCurrentRow(0);
    QCOMPARE(f.Count(), QStringLiteral("(1/3)"));
    QVERIFY(!f.Enabled("cmdUp") && f.Enabled("cmdDown"));
    f.dialog->cmdDown_Click();
    QCOMPARE(f.Extensions(), (QStringList{"gif", "txt", "bin"}));
    f.dialog->cmdDown_Click();
    f.dialog->cmdDown_Click();  // already last: nothing
    QCOMPARE(f.Extensions(), (QStringList{"gif", "bin", "txt"}));
    QCOMPARE(f.list->currentRow(), 2);
    QCOMPARE(f.Count(), QStringLiteral("(3/3)"));
    QVERIFY(f.Enabled("cmdUp") && !f.Enabled("cmdDown"));
    f.dialog->cmdUp_Click();
    f.dialog->cmdUp_Click();
    QCOMPARE(f.Extensions(), (QStringList{"txt", "gif", "bin"}));
    QCOMPARE(f.list->currentRow(), 0);
    QCOMPARE(f.list->item(0)->text(), QString::fromStdString(SuffixListLine(kTxt)));
  }

  void sortAndResetAskFirst() {
    Fixture f({kAny, kTxt, kGif});
    f.boxes.answers = {QMessageBox::Cancel};
    f.dialog->cmdSort_Click();
    QCOMPARE(f.boxes.texts.last(), QString::fromUtf8(kSuffixSortQuestion));
    QCOMPARE(f.Extensions().first(), QStringLiteral("bin"));
    f.list->setCurrentRow(0);
    f.boxes.answers = {QMessageBox::Ok};
    f.dialog->cmdSort_Click();  // wildcards last, and the selection follows its row
    QCOMPARE(f.Extensions().last(), QStringLiteral("bin"));
    QCOMPARE(f.list->currentRow(), 2);

    SuffixTable builtIn;
    SuffixTableDefault(builtIn);
    f.boxes.answers = {QMessageBox::Cancel};
    f.dialog->cmdInit_Click();
    QCOMPARE(f.dialog->Copy().RowCount(), 3u);
    f.boxes.answers = {QMessageBox::Ok};
    f.dialog->cmdInit_Click();
    QCOMPARE(f.boxes.texts.last(), QString::fromUtf8(kSuffixResetQuestion));
    QVERIFY(f.dialog->Copy() == builtIn);
    QCOMPARE(f.list->count(), 100);
  }

  void okCopiesBackAndCancelLeavesEverything() {
    for (const char* button : {"cmdCancel", "cmdExit"}) {
      Fixture f;
      const SuffixTable before = f.table;
      f.list->setCurrentRow(0);
      f.dialog->cmdDown_Click();
      f.dialog->findChild<QRadioButton*>("optAutoSfx0")->setChecked(true);
      f.dialog->resize(700, 500);
      f.dialog->findChild<QPushButton*>(button)->click();
      const bool ok = std::string(button) == "cmdExit";
      QCOMPARE(f.changed, ok);
      QVERIFY(ok ? f.table == f.dialog->Copy() && !(f.table == before) : f.table == before);
      QCOMPARE(f.settings.FileMode, std::uint16_t(ok ? 117 - 64 : 117));
      QCOMPARE(f.settings.SfxSetWidth, 700);  // the size is kept however the window closes
      QCOMPARE(f.settings.SfxSetHeight, 500);
    }
  }

  // Every rule and message: the suffix table test; here, that the dialog applies them.
  void editDialogRefusesBadRowsWithTheirMessages() {
    const char* const rows[][4] = {
        // extension, type, creator, message ("" = accepted)
        {"txt", "", "WXYZ?", "クリエーターが不正です。"},
        {"x", "A\\*BC", "W?BN", ""},
    };
    for (const auto& row : rows) {
      test::ScriptedMessages boxes;
      SuffixEditDialog dialog(SuffixEditDialog::Mode::Append, SuffixEntry{});
      int i = 0;
      for (const char* name : {"txtSuffix", "txtType", "txtCreater"}) {
        dialog.findChild<QLineEdit*>(name)->setText(QString::fromUtf8(row[i++]));
      }
      dialog.cmdExit_Click();
      QCOMPARE(dialog.Result().has_value(), !*row[3]);
      QCOMPARE(dialog.result(), int(*row[3] ? QDialog::Rejected : QDialog::Accepted));
      QCOMPARE(boxes.texts, *row[3] ? QStringList{QString::fromUtf8(row[3])} : QStringList{});
      if (*row[3]) QCOMPARE(boxes.kinds.front(), MsgKind::Exclamation);
    }
  }
};

QTEST_MAIN(DialogsTest)
#include "gui_dialogs_test.moc"
