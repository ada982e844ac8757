#pragma once
// The program's own help: Japanese HTML pages shown in one help window, opened
// at the topic of the window that asked for it.

// Qt
#include <QString>
#include <QWidget>

class QTextBrowser;

namespace ferrox::ui {

// Topics: one per window of the program (anchors in the help file).
namespace help_topic {
inline const QString kMain = QStringLiteral("main");
inline const QString kSetup = QStringLiteral("setup");
inline const QString kSetup2 = QStringLiteral("setup2");
inline const QString kGaiji = QStringLiteral("gaiji");
inline const QString kSuffix = QStringLiteral("suffix");
inline const QString kSuffixEdit = QStringLiteral("suffixedit");
inline const QString kReport = QStringLiteral("report");
}  // namespace help_topic

// The help file "ferrox.html": $FERROX_HELP_DIR, then share/ferrox/help beside
// the program, then the installed and the source help folders. Empty when
// none exists.
[[nodiscard]] QString HelpFilePath();

// Opens the help window at a topic, or says that there is no help.
void ShowHelp(QWidget* owner, const QString& topic);

class HelpWindow : public QWidget {
  Q_OBJECT
 public:
  explicit HelpWindow(QWidget* parent = nullptr);
  void ShowTopic(const QString& file, const QString& topic);
  [[nodiscard]] QString CurrentTopic() const;

 private:
  QTextBrowser* browser_;
};

}  // namespace ferrox::ui
