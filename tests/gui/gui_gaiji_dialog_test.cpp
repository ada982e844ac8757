// The gaiji settings dialog: OK stores both fields and reloads the table,
// Cancel changes nothing, and the chooser opens a quoted path without quotes.

#include <fstream>

// ferrox
#include "convert/gaiji_table.h"
#include "gui_test_support.h"
#include "ui/file_dialog.h"
#include "ui/gaiji_dialog.h"

// Qt
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

using namespace ferrox;
using namespace ferrox::ui;

namespace {

std::string WriteTable(const QTemporaryDir& dir, const char* name, const std::string& bytes) {
  const std::string path = dir.filePath(QString::fromLatin1(name)).toStdString();
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

class ChooserScript {
 public:
  explicit ChooserScript(QStringList answer) {
    previous_ = SetFileDialogHandler([this, answer](const FileDialogRequest& r) {
      requests.push_back(r);
      return answer;
    });
  }
  ~ChooserScript() { SetFileDialogHandler(std::move(previous_)); }
  std::vector<FileDialogRequest> requests;

 private:
  FileDialogHandler previous_;
};

}  // namespace

class GaijiDialogTest : public QObject {
  Q_OBJECT
 private slots:
  void loadShowsTheSettingsAndTheCheckBoxEnablesThePath() {
    ConversionSettings s;
    s.ConvMode = 12;
    s.GaijiTable = "/x/GaiTbl.txt";
    GaijiTable table;
    GaijiDialog dialog(s, table);
    auto* check = dialog.findChild<QCheckBox*>("chkGaijiConv");
    auto* path = dialog.findChild<QLineEdit*>("txtGaijiTable");
    auto* choose = dialog.findChild<QPushButton*>("cmdGaijiTable");
    QVERIFY(!check->isChecked());
    QCOMPARE(path->text(), QStringLiteral("/x/GaiTbl.txt"));
    QCOMPARE(path->cursorPosition(), static_cast<int>(path->text().size()));
    QVERIFY(!path->isEnabled());
    QVERIFY(!choose->isEnabled());
    check->setChecked(true);
    QVERIFY(path->isEnabled());
    QVERIFY(choose->isEnabled());
  }

  void okStoresTheBitAndPathAndReloadsTheTable() {
    QTemporaryDir dir;
    const std::string file = WriteTable(dir, "mine.txt", "8740,(1)\r\n8741,(2)\r\n");
    ConversionSettings s;
    s.ConvMode = 12 | 1;
    s.GaijiTable = "/nowhere/GaiTbl.txt";
    GaijiTable table;
    GaijiDialog dialog(s, table);
    dialog.findChild<QCheckBox*>("chkGaijiConv")->setChecked(true);
    dialog.findChild<QLineEdit*>("txtGaijiTable")->setText(QString::fromStdString(file));
    dialog.findChild<QPushButton*>("cmdExit")->click();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(s.ConvMode, std::uint16_t{12 | 1 | 16});
    QCOMPARE(s.GaijiTable, file);
    QCOMPARE(table.Records().size(), std::size_t{3});  // record 0 and the two lines
    QCOMPARE(table.GaijiTableSearch(0x87, 0x41), std::size_t{2});
  }

  void okWithTheBoxClearClearsOnlyBit16AndStillReloads() {
    QTemporaryDir dir;
    const std::string file = WriteTable(dir, "other.txt", "8740,X\r\n");
    ConversionSettings s;
    s.ConvMode = 12 | 16 | 2;
    GaijiTable table;
    GaijiDialog dialog(s, table);
    dialog.findChild<QCheckBox*>("chkGaijiConv")->setChecked(false);
    dialog.findChild<QLineEdit*>("txtGaijiTable")->setText(QString::fromStdString(file));
    dialog.cmdExit_Click();
    QCOMPARE(s.ConvMode, std::uint16_t{12 | 2});
    QCOMPARE(s.GaijiTable, file);
    QCOMPARE(table.Records().size(), std::size_t{2});
  }

  void cancelChangesNothing() {
    QTemporaryDir dir;
    const std::string file = WriteTable(dir, "t.txt", "8740,X\r\n");
    ConversionSettings s;
    s.ConvMode = 12;
    s.GaijiTable = "/old/GaiTbl.txt";
    GaijiTable table;
    GaijiDialog dialog(s, table);
    dialog.findChild<QCheckBox*>("chkGaijiConv")->setChecked(true);
    dialog.findChild<QLineEdit*>("txtGaijiTable")->setText(QString::fromStdString(file));
    dialog.findChild<QPushButton*>("cmdCancel")->click();
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QCOMPARE(s.ConvMode, std::uint16_t{12});
    QCOMPARE(s.GaijiTable, std::string("/old/GaiTbl.txt"));
    QCOMPARE(table.Records().size(), std::size_t{1});
  }

  void chooserOpensAQuotedPathWithoutQuotesAndKeepsTheTextOnCancel() {
    ConversionSettings s;
    s.ConvMode = 12 | 16;
    s.GaijiTable = "\"/a b/GaiTbl.txt\"";
    GaijiTable table;
    GaijiDialog dialog(s, table);
    auto* path = dialog.findChild<QLineEdit*>("txtGaijiTable");
    {
      ChooserScript chooser{QStringList{}};
      dialog.cmdGaijiTable_Click();
      QCOMPARE(chooser.requests.size(), std::size_t{1});
      QCOMPARE(chooser.requests[0].initialPath, QStringLiteral("/a b/GaiTbl.txt"));
      QCOMPARE(chooser.requests[0].title, QStringLiteral("定義ﾌｧｲﾙの選択"));
      QCOMPARE(path->text(), QStringLiteral("\"/a b/GaiTbl.txt\""));
    }
    {
      ChooserScript chooser{QStringList{QStringLiteral("/c/MacGaiji.txt")}};
      dialog.cmdGaijiTable_Click();
      QCOMPARE(path->text(), QStringLiteral("/c/MacGaiji.txt"));
    }
  }
};

QTEST_MAIN(GaijiDialogTest)
#include "gui_gaiji_dialog_test.moc"
