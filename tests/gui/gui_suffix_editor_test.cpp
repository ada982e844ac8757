// The suffix table editor and its edit dialog.

#include <optional>

#include "gui_test_support.h"
#include "suffix/suffix_edit_rules.h"
#include "ui/suffix_edit_dialog.h"
#include "ui/suffix_set_dialog.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

using namespace ferrox;
using namespace ferrox::ui;

namespace {

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

class SuffixEditorTest : public QObject {
  Q_OBJECT
 private slots:
  void addAndChange() {
    Fixture f;
    QCOMPARE(f.list->item(0)->text(), QString::fromStdString(SuffixListLine(kTxt)));
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

QTEST_MAIN(SuffixEditorTest)
#include "gui_suffix_editor_test.moc"
