// The two options dialogs: every field they show reaches ConversionSettings on
// OK, bits they do not own survive, a small survey size is refused, and
// Cancel changes nothing. Also the report window's saved bytes.

#include <fstream>
#include <sstream>

// ferrox
#include "gui_test_support.h"
#include "ui/report_window.h"
#include "ui/setup2_dialog.h"
#include "ui/setup_dialog.h"

// Qt
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>

using namespace ferrox;
using namespace ferrox::ui;

class OptionDialogsTest : public QObject {
  Q_OBJECT
 private slots:
  void setupShowsAndStoresItsFields() {
    ConversionSettings s;
    s.ConvMode = 12 | 2 | 16;  // bits 2 and 16 belong to other dialogs
    s.FileMode = 117;          // 1, 4, 16, 32, 64
    s.LineSize = 0;
    SetupDialog dialog(s);
    QVERIFY(dialog.findChild<QCheckBox*>("chkJisEuc")->isChecked());
    QVERIFY(dialog.findChild<QCheckBox*>("chkGaijiChar")->isChecked());
    QVERIFY(!dialog.findChild<QCheckBox*>("chkEof")->isChecked());
    QVERIFY(dialog.findChild<QRadioButton*>("optBackup")->isChecked());
    QVERIFY(dialog.findChild<QCheckBox*>("chkFolder")->isChecked());
    QVERIFY(!dialog.findChild<QCheckBox*>("chkDeleteInput")->isChecked());

    dialog.findChild<QCheckBox*>("chkJisEuc")->setChecked(false);
    dialog.findChild<QCheckBox*>("chkEof")->setChecked(true);
    dialog.findChild<QSpinBox*>("txtLineSize")->setValue(72);
    dialog.findChild<QRadioButton*>("optTrash")->setChecked(true);
    dialog.findChild<QCheckBox*>("chkDeleteInput")->setChecked(true);
    dialog.findChild<QCheckBox*>("chkMacDates")->setChecked(false);
    dialog.findChild<QPushButton*>("cmdExit")->click();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(s.ConvMode, std::uint16_t{1 | 2 | 8 | 16});
    QCOMPARE(s.LineSize, std::int16_t{72});
    // bit 1 off, 128 and 256 on, 4 off; 16, 32 and 64 kept.
    QCOMPARE(s.FileMode, std::uint16_t{16 | 32 | 64 | 128 | 256});
  }

  void setupCancelChangesNothing() {
    ConversionSettings s;
    const ConversionSettings before = s;
    SetupDialog dialog(s);
    dialog.findChild<QCheckBox*>("chkJisEuc")->setChecked(false);
    dialog.findChild<QRadioButton*>("optDelete")->setChecked(true);
    dialog.findChild<QPushButton*>("cmdCancel")->click();
    QCOMPARE(s.ConvMode, before.ConvMode);
    QCOMPARE(s.FileMode, before.FileMode);
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
      dialog.findChild<QPushButton*>(name)->click();
    }
    QCOMPARE(opened, (QStringList{"gaiji", "suffix", "setup2", "about"}));
    // The editor cleared bit 64; this dialog's OK must not put it back.
    QVERIFY(!dialog.findChild<QCheckBox*>("chkUnknownName")->isChecked());
    dialog.cmdExit_Click();
    QCOMPARE(s.FileMode & 64, 0);
  }

  void setup2RefusesASmallSurveySize() {
    ConversionSettings s;
    test::ScriptedMessages boxes;
    Setup2Dialog dialog(s);
    dialog.findChild<QSpinBox*>("txtChkSize")->setValue(99);
    dialog.findChild<QSpinBox*>("txtBinRate")->setValue(10);
    dialog.findChild<QPushButton*>("cmdExit")->click();
    QCOMPARE(boxes.texts,
             QStringList{QStringLiteral("ﾌｧｲﾙの調査ｻｲｽﾞが少な過ぎます。100 Byte 以上に設定して下さい。")});
    QCOMPARE(dialog.result(), int(QDialog::Rejected));  // still open, nothing stored
    QCOMPARE(s.ChkSize, 10000);
    QCOMPARE(s.BinRate, std::int16_t{3});
    dialog.findChild<QSpinBox*>("txtChkSize")->setValue(100);
    QVERIFY(dialog.cmdExit_Click());
    QCOMPARE(s.ChkSize, 100);
    QCOMPARE(s.BinRate, std::int16_t{10});
  }

  void setup2StoresNamingAndAutomaticMode() {
    ConversionSettings s;
    s.ConvMode = 12;
    s.ExecMode = 0;
    test::ScriptedMessages boxes;
    Setup2Dialog dialog(s);
    auto* fnc = dialog.findChild<QLineEdit*>("txtFNCChar");
    QCOMPARE(fnc->text(), QStringLiteral("_"));
    dialog.findChild<QCheckBox*>("chkFncChar")->setChecked(true);
    fnc->setText(QStringLiteral("*"));
    QVERIFY(!dialog.cmdExit_Click());
    QCOMPARE(boxes.texts.size(), 1);
    fnc->setText(QStringLiteral("＿"));
    auto* autoEnd = dialog.findChild<QCheckBox*>("chkAutoEnd");
    QVERIFY(!autoEnd->isEnabled());
    dialog.findChild<QCheckBox*>("chkAuto")->setChecked(true);
    QVERIFY(autoEnd->isEnabled());
    autoEnd->setChecked(true);
    QVERIFY(dialog.cmdExit_Click());
    QCOMPARE(s.ConvMode, std::uint16_t{12 | 2});
    QCOMPARE(s.FNCChar, std::string("＿"));
    QCOMPARE(s.ExecMode, std::uint16_t{3});
  }

  void reportIsSavedAsCp932WithCrLf() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("report.txt"));
    const QString report = QStringLiteral("--- [a.txt]の調査結果 ---\r\nサイズ  :12 Byte\r\n\r\nテキストファイルです。");
    ReportWindow window(report, QStringLiteral("/tmp/a.txt"), std::uint16_t{0x0112});
    QVERIFY(window.SaveReport(path));
    std::ifstream in(path.toStdString(), std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    const std::string expected =
        "--- [a.txt]\x82\xcc\x92\xb2\x8d\xb8\x8c\x8b\x89\xca ---\r\n"
        "\x83T\x83""C\x83Y  :12 Byte\r\n\r\n"
        "\x83""e\x83L\x83X\x83g\x83t\x83@\x83""C\x83\x8b\x82\xc5\x82\xb7\x81""B\r\n";
    QCOMPARE(bytes.str(), expected);
    QCOMPARE(SurveyFlagsLine(0x0112).left(13), QStringLiteral("調査結果コード: 0112"));
  }

  void reportSaveFailureSaysSo() {
    test::ScriptedMessages boxes;
    ReportWindow window(QStringLiteral("x\r\n"), QString(), std::nullopt);
    QVERIFY(!window.SaveReport(QStringLiteral("/nonexistent-folder/r.txt")));
    QCOMPARE(boxes.texts.size(), 1);
    QCOMPARE(boxes.kinds.front(), MsgKind::Exclamation);
  }
};

QTEST_MAIN(OptionDialogsTest)
#include "gui_option_dialogs_test.moc"
