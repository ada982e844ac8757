// The options, gaiji and report dialogs: OK stores, bad values refused, Cancel changes nothing.

#include "convert/gaiji_table.h"
#include "gui_test_support.h"
#include "helpers/scratch_dir.h"
#include "ui/gaiji_dialog.h"
#include "ui/report_window.h"
#include "ui/setup2_dialog.h"
#include "ui/setup_dialog.h"

#include <QCheckBox>
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
};

QTEST_MAIN(DialogsTest)
#include "gui_dialogs_test.moc"
