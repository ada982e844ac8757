// The suffix table editor: list operations on its copy, OK and Cancel, and the
// edit dialog's checks with their messages.

#include <optional>

// ferrox
#include "gui_test_support.h"
#include "suffix/suffix_edit_rules.h"
#include "ui/suffix_edit_dialog.h"
#include "ui/suffix_set_dialog.h"

// Qt
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

using namespace ferrox;
using namespace ferrox::ui;

namespace {

SuffixTable Table(std::initializer_list<SuffixEntry> rows) {
  SuffixTable t;
  for (const SuffixEntry& r : rows) t.Append(r);
  return t;
}

const SuffixEntry kTxt{"txt", "TEXT", "", "テキスト"};
const SuffixEntry kGif{"gif", "GIFf", "", "GIF画像"};
const SuffixEntry kAny{"bin", "*", "", "何でも"};
const SuffixEntry kXls{"xls", "XLS*", "XCEL", "Excel"};

QStringList Extensions(const SuffixTable& t) {
  QStringList out;
  for (const SuffixEntry& r : t.Rows()) out << QString::fromStdString(r.Extension);
  return out;
}

struct Fixture {
  ConversionSettings settings;
  SuffixTable table = Table({kTxt, kGif, kAny});
  bool changed = false;
  SuffixSetDialog dialog{settings, table, changed};
  QListWidget* list = dialog.findChild<QListWidget*>("lstSuffix");
  QLabel* num = dialog.findChild<QLabel*>("lblNum");
  std::optional<SuffixEntry> nextEdit;  // what the edit dialog "returns"
  SuffixEntry lastShown;

  Fixture() {
    dialog.editRow = [this](QWidget*, SuffixEditDialog::Mode, const SuffixEntry& row) {
      lastShown = row;
      return nextEdit;
    };
  }
  QPushButton* Button(const char* name) { return dialog.findChild<QPushButton*>(name); }
};

}  // namespace

class SuffixEditorTest : public QObject {
  Q_OBJECT
 private slots:
  void listShowsEveryRowAndCounts() {
    Fixture f;
    QCOMPARE(f.list->count(), 3);
    QCOMPARE(f.list->item(0)->text(), QString::fromStdString(SuffixListLine(kTxt)));
    QCOMPARE(f.num->text(), QStringLiteral("(1/3)"));
    QVERIFY(!f.Button("cmdUp")->isEnabled());
    QVERIFY(f.Button("cmdDown")->isEnabled());
    f.list->setCurrentRow(2);
    QCOMPARE(f.num->text(), QStringLiteral("(3/3)"));
    QVERIFY(f.Button("cmdUp")->isEnabled());
    QVERIFY(!f.Button("cmdDown")->isEnabled());
    f.list->setCurrentRow(-1);
    QCOMPARE(f.num->text(), QStringLiteral("(3)"));
    QVERIFY(!f.Button("cmdUpdate")->isEnabled());
    QVERIFY(!f.Button("cmdDelete")->isEnabled());
  }

  void appendGoesAfterTheSelectionOrToTheTop() {
    Fixture f;
    f.list->setCurrentRow(1);
    f.nextEdit = kXls;
    f.dialog.cmdAppend_Click();
    QCOMPARE(Extensions(f.dialog.Copy()), (QStringList{"txt", "gif", "xls", "bin"}));
    QCOMPARE(f.list->currentRow(), 2);
    f.list->setCurrentRow(-1);
    f.nextEdit = SuffixEntry{"pic", "PICT", "", ""};
    f.dialog.cmdAppend_Click();
    QCOMPARE(Extensions(f.dialog.Copy()).first(), QStringLiteral("pic"));
    f.nextEdit.reset();  // cancelled edit: nothing added
    f.dialog.cmdAppend_Click();
    QCOMPARE(f.dialog.Copy().RowCount(), 5u);
    QCOMPARE(f.list->count(), 5);
  }

  void changeReplacesOnlyTheSelectedRow() {
    Fixture f;
    f.list->setCurrentRow(1);
    f.nextEdit = SuffixEntry{"gif2", "GIFf", "", "changed"};
    f.dialog.cmdUpdate_Click();
    QCOMPARE(f.lastShown, kGif);  // the dialog opened on the selected row
    QCOMPARE(f.dialog.Copy()[1].Extension, std::string("gif2"));
    QCOMPARE(f.list->item(1)->text(), QString::fromStdString(SuffixListLine(f.dialog.Copy()[1])));
    QCOMPARE(f.dialog.Copy()[0], kTxt);
  }

  void deleteAsksAndActsOnlyOnOk() {
    Fixture f;
    test::ScriptedMessages boxes;
    f.list->setCurrentRow(0);
    boxes.answers = {QMessageBox::Cancel};
    f.dialog.cmdDelete_Click();
    QCOMPARE(f.dialog.Copy().RowCount(), 3u);
    QCOMPARE(boxes.texts.last(), QString::fromStdString(SuffixDeleteQuestion(kTxt)));
    boxes.answers = {QMessageBox::Ok};
    f.dialog.cmdDelete_Click();
    QCOMPARE(Extensions(f.dialog.Copy()), (QStringList{"gif", "bin"}));
    QCOMPARE(f.list->currentRow(), 0);
    // The Delete key on the list does the same.
    f.list->setFocus();
    f.list->setCurrentRow(1);
    boxes.answers = {QMessageBox::Ok};
    QTest::keyClick(f.list, Qt::Key_Delete);
    QCOMPARE(Extensions(f.dialog.Copy()), (QStringList{"gif"}));
    boxes.answers = {QMessageBox::Ok};
    f.dialog.cmdDelete_Click();
    QVERIFY(f.dialog.Copy().Empty());
    QCOMPARE(f.list->count(), 0);
    QCOMPARE(f.num->text(), QStringLiteral("(0)"));
  }

  void moveSwapsAndKeepsTheSelectionOnTheMovedRow() {
    Fixture f;
    f.list->setCurrentRow(0);
    f.dialog.cmdDown_Click();
    QCOMPARE(Extensions(f.dialog.Copy()), (QStringList{"gif", "txt", "bin"}));
    QCOMPARE(f.list->currentRow(), 1);
    f.dialog.cmdDown_Click();
    QCOMPARE(Extensions(f.dialog.Copy()), (QStringList{"gif", "bin", "txt"}));
    QCOMPARE(f.list->currentRow(), 2);
    f.dialog.cmdDown_Click();  // already last: nothing
    QCOMPARE(Extensions(f.dialog.Copy()), (QStringList{"gif", "bin", "txt"}));
    f.dialog.cmdUp_Click();
    f.dialog.cmdUp_Click();
    QCOMPARE(Extensions(f.dialog.Copy()), (QStringList{"txt", "gif", "bin"}));
    QCOMPARE(f.list->currentRow(), 0);
    QCOMPARE(f.list->item(0)->text(), QString::fromStdString(SuffixListLine(kTxt)));
  }

  void sortPutsWildcardsLastAndFollowsTheSelectedRow() {
    ConversionSettings settings;
    SuffixTable table = Table({kAny, kTxt, kGif});
    bool changed = false;
    SuffixSetDialog dialog(settings, table, changed);
    auto* list = dialog.findChild<QListWidget*>("lstSuffix");
    test::ScriptedMessages boxes;
    boxes.answers = {QMessageBox::Cancel};
    dialog.cmdSort_Click();
    QCOMPARE(boxes.texts.last(), QString::fromUtf8(kSuffixSortQuestion));
    QCOMPARE(Extensions(dialog.Copy()).first(), QStringLiteral("bin"));
    list->setCurrentRow(0);
    boxes.answers = {QMessageBox::Ok};
    dialog.cmdSort_Click();
    QCOMPARE(Extensions(dialog.Copy()).last(), QStringLiteral("bin"));
    QCOMPARE(list->currentRow(), 2);
  }

  void resetRestoresTheBuiltInRows() {
    Fixture f;
    test::ScriptedMessages boxes;
    SuffixTable builtIn;
    SuffixTableDefault(builtIn);
    boxes.answers = {QMessageBox::Cancel};
    f.dialog.cmdInit_Click();
    QCOMPARE(f.dialog.Copy().RowCount(), 3u);
    boxes.answers = {QMessageBox::Ok};
    f.dialog.cmdInit_Click();
    QCOMPARE(boxes.texts.last(), QString::fromUtf8(kSuffixResetQuestion));
    QVERIFY(f.dialog.Copy() == builtIn);
    QCOMPARE(f.list->count(), static_cast<int>(builtIn.RowCount()));
  }

  void okCopiesBackAndCancelLeavesEverything() {
    {
      Fixture f;
      f.settings.FileMode = 117;  // bit 64 set
      const SuffixTable before = f.table;
      f.list->setCurrentRow(0);
      f.dialog.cmdDown_Click();
      f.dialog.findChild<QRadioButton*>("optAutoSfx0")->setChecked(true);
      f.Button("cmdCancel")->click();
      QVERIFY(f.table == before);
      QVERIFY(!f.changed);
      QCOMPARE(f.settings.FileMode, std::uint16_t{117});
    }
    {
      ConversionSettings settings;
      settings.FileMode = 117;
      SuffixTable table = Table({kTxt, kGif});
      bool changed = false;
      SuffixSetDialog dialog(settings, table, changed);
      dialog.findChild<QListWidget*>("lstSuffix")->setCurrentRow(0);
      dialog.cmdDown_Click();
      dialog.findChild<QRadioButton*>("optAutoSfx0")->setChecked(true);
      dialog.resize(700, 500);
      dialog.cmdExit_Click();
      QCOMPARE(Extensions(table), (QStringList{"gif", "txt"}));
      QVERIFY(changed);
      QCOMPARE(settings.FileMode, std::uint16_t{117 - 64});
      QCOMPARE(settings.SfxSetWidth, 700);
      QCOMPARE(settings.SfxSetHeight, 500);
    }
  }

  void editDialogRefusesBadRowsWithTheirMessages() {
    struct Row {
      const char* ext;
      const char* type;
      const char* creator;
      const char* message;  // nullptr = accepted
    };
    const Row rows[] = {
        {"bak", "TEXT", "", "拡張子が不正です。"},
        {"BAK  ", "TEXT", "", "拡張子が不正です。"},
        {".bak", "TEXT", "", "拡張子が不正です。"},
        {"   ", "TEXT", "", "拡張子が不正です。"},
        {"a/b", "TEXT", "", "拡張子が不正です。"},
        {"bak2", "TEXT", "", nullptr},
        {"", "TEXT", "", nullptr},
        {"txt", "ABCDE", "", "タイプが不正です。"},
        {"txt", "TEXＴ", "", "タイプが不正です。"},
        {"txt", "", "WXYZ?", "クリエーターが不正です。"},
        {"txt", " ", "  ", "タイプかクリエーター何れかの設定が必要です。"},
        {"xls", "XLS*", "", nullptr},
        {"x", "A\\*BC", "W?BN", nullptr},
    };
    for (const Row& row : rows) {
      test::ScriptedMessages boxes;
      SuffixEditDialog dialog(SuffixEditDialog::Mode::Append, SuffixEntry{});
      dialog.findChild<QLineEdit*>("txtSuffix")->setText(QString::fromUtf8(row.ext));
      dialog.findChild<QLineEdit*>("txtType")->setText(QString::fromUtf8(row.type));
      dialog.findChild<QLineEdit*>("txtCreater")->setText(QString::fromUtf8(row.creator));
      dialog.findChild<QLineEdit*>("txtDescription")->setText(QStringLiteral("説明"));
      dialog.cmdExit_Click();
      if (row.message == nullptr) {
        QVERIFY2(boxes.texts.isEmpty(), row.ext);
        QVERIFY2(dialog.Result().has_value(), row.ext);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
      } else {
        QCOMPARE(boxes.texts, QStringList{QString::fromUtf8(row.message)});
        QVERIFY(!dialog.Result().has_value());
        QCOMPARE(boxes.kinds.front(), MsgKind::Exclamation);
      }
    }
  }

  void editDialogWithAllBoxesEmptyClosesWithoutARow() {
    test::ScriptedMessages boxes;
    SuffixEditDialog dialog(SuffixEditDialog::Mode::Change, kTxt);
    QCOMPARE(dialog.windowTitle().endsWith(QStringLiteral("変更")), true);
    for (const char* name : {"txtSuffix", "txtType", "txtCreater", "txtDescription"}) {
      dialog.findChild<QLineEdit*>(name)->clear();
    }
    dialog.cmdExit_Click();
    QVERIFY(boxes.texts.isEmpty());
    QVERIFY(!dialog.Result().has_value());
  }
};

QTEST_MAIN(SuffixEditorTest)
#include "gui_suffix_editor_test.moc"
