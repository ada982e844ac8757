#pragma once
// fomReport: the survey report of one input, to read, copy or save.

#include <cstdint>
#include <optional>
#include <string>

// Qt
#include <QDialog>

class QHBoxLayout;
class QLabel;
class QPlainTextEdit;

namespace ferrox::ui {

class ReportWindow : public QDialog {
  Q_OBJECT
 public:
  // report: lines ending in CR LF. inputPath proposes the save folder. flags:
  // the survey flag word of one surveyed file, shown under the report.
  ReportWindow(const QString& report, const QString& inputPath, std::optional<std::uint16_t> flags,
               QWidget* parent = nullptr);

  // Shows the converted head of the file under the report, with the code
  // warning of the survey when there is one.
  void SetPreview(const QString& head, const QString& warning);

  void CopyReport();
  // Writes the report as CP932 with CR LF; false (after a message) on failure.
  bool SaveReport(const QString& path);

 private:
  void MakePreview();
  QHBoxLayout* MakeButtonRow();
  void cmdSave_Click();

  QString report_;
  QString inputPath_;
  QPlainTextEdit* text_;
  QLabel* previewLabel_;
  QPlainTextEdit* preview_;
  QLabel* tieWarning_;
};

// The survey flag word as the report window prints it, with its legend.
[[nodiscard]] QString SurveyFlagsLine(std::uint16_t flags);

// The bytes of a saved report: CP932, every line ending in CR LF.
[[nodiscard]] std::string ReportFileBytes(const QString& report);

}  // namespace ferrox::ui
