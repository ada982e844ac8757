// ferrox-gui-screenshots: opens the real windows of the desktop program one
// after another on the current display and saves a PNG of each, so a person
// can look at them (scripts/screenshots.sh runs it under Xvfb).

#include <filesystem>
#include <fstream>

// ferrox
#include "app/settings_store.h"
#include "ui/about_dialog.h"
#include "ui/app_icon.h"
#include "ui/file_dialog.h"
#include "ui/gaiji_dialog.h"
#include "ui/help_window.h"
#include "ui/main_window.h"
#include "ui/report_window.h"
#include "ui/setup2_dialog.h"
#include "ui/setup_dialog.h"
#include "ui/startup.h"
#include "ui/suffix_edit_dialog.h"
#include "ui/suffix_set_dialog.h"
#include "ui/text_preview.h"

// Qt
#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QLabel>
#include <QScreen>
#include <QTextStream>
#include <QTimer>

using namespace ferrox;
using namespace ferrox::ui;

namespace {

QString gFolder;

void Shoot(QWidget& window, const QString& name) {
  window.show();
  window.raise();
  QEventLoop settle;  // lets the window paint before the picture is taken
  QTimer::singleShot(400, &settle, &QEventLoop::quit);
  settle.exec();
  const QPixmap shot = window.screen()->grabWindow(window.winId());
  const QString path = gFolder + QLatin1Char('/') + name + QStringLiteral(".png");
  if (!shot.save(path)) QTextStream(stderr) << "cannot save " << path << "\n";
  QTextStream(stdout) << path << "\n";
  window.hide();
}

struct Samples {
  std::string folder, text, mac;
};

// An EUC-JP text file and a MacBinary file in `folder`.
Samples WriteSamples(const std::string& samples) {
  std::filesystem::create_directories(samples);
  const std::string text = samples + "/euc_memo.txt";
  std::ofstream(text, std::ios::binary) << "\xc6\xfc\xcb\xdc\xb8\xec\xa4\xce\xa5\xc6\xa5\xad\xa5\xb9\xa5\xc8\n"
                                           "second line\r\nthird line\n";
  const std::string mac = samples + "/download.bin";
  // A MacBinary file: name "日本語 Memo", TEXT/ttxt, a 6-byte data fork and two dates.
  std::string header(128, '\0');
  const std::string name = "\x93\xfa\x96{\x8c\xea Memo";
  header[1] = static_cast<char>(name.size());
  header.replace(2, name.size(), name);
  header.replace(65, 8, "TEXTttxt");
  header[86] = 6;
  const std::uint32_t dates[] = {3000000000u, 3100000000u};  // created, modified; big-endian at 91 and 95
  for (std::size_t i = 0; i < 8; ++i) header[91 + i] = static_cast<char>(dates[i / 4] >> (24 - 8 * (i % 4)));
  std::ofstream(mac, std::ios::binary) << header << "abc\rd\r" << std::string(122, '\0');

  return {samples, text, mac};
}

void ShootDialogs(MainWindow& main, SettingsStore& store, const std::string& mac) {
  SetupDialog setup(store.Settings, &main);
  Shoot(setup, QStringLiteral("03_options_fomSetup"));
  Setup2Dialog setup2(store.Settings, &main);
  Shoot(setup2, QStringLiteral("04_options_fomSetup2"));
  GaijiDialog gaiji(store.Settings, store.Gaiji, &main);
  Shoot(gaiji, QStringLiteral("05_gaiji_fomGaiSet"));
  SuffixSetDialog suffix(store.Settings, store.Suffixes, store.SuffixTableChanged, &main);
  Shoot(suffix, QStringLiteral("06_suffix_fomSfxSet"));
  SuffixEditDialog edit(SuffixEditDialog::Mode::Change, store.Suffixes[0], &main);
  Shoot(edit, QStringLiteral("07_suffix_edit_fomSfxEdit"));
  main.SetInFileText(mac);
  const QString report = main.findChild<QLabel*>(QStringLiteral("lblInfo"))->text();
  ReportWindow reportWindow(report, QString::fromStdString(mac), std::uint16_t{0x0122}, &main);
  Shoot(reportWindow, QStringLiteral("08_report_fomReport"));
  AboutDialog about(&main);
  Shoot(about, QStringLiteral("09_about_fomVersion"));
  HelpWindow help;
  help.ShowTopic(HelpFilePath(), help_topic::kMain);
  Shoot(help, QStringLiteral("10_help"));

}

void ShootRunAndPreview(MainWindow& main, SettingsStore& store, const Samples& files) {
  const std::string& samples = files.folder;
  const std::string& text = files.text;
  const std::string& mac = files.mac;
  // A run over a folder: the summary under the panel, with its button.
  const std::string run = samples + "/run";
  std::filesystem::create_directories(run + "/sub");
  std::filesystem::copy_file(text, run + "/memo.txt", std::filesystem::copy_options::overwrite_existing);
  std::filesystem::copy_file(text, run + "/sub/memo2.txt", std::filesystem::copy_options::overwrite_existing);
  std::filesystem::copy_file(mac, run + "/download.bin", std::filesystem::copy_options::overwrite_existing);
  main.SetInFileText(run);
  main.findChild<QLineEdit*>(QStringLiteral("txtOutFile"))->setText(QString::fromStdString(samples + "/out"));
  main.comFerrox_Click();
  Shoot(main, QStringLiteral("11_main_window_summary"));

  // The report with the converted head of a file and the code warning.
  const std::string kana = samples + "/kana_euc.txt";
  std::ofstream(kana, std::ios::binary) << "\xa5\xab\xa5\xbf\xa5\xab\xa5\xca\n\xa5\xc6\xa5\xad\xa5\xb9\xa5\xc8\n";
  main.SetInFileText(kana);
  FileSurvey survey;
  ReportWindow preview(main.findChild<QLabel*>(QStringLiteral("lblInfo"))->text(), QString::fromStdString(kana),
                       std::uint16_t{0x0040}, &main);
  preview.SetPreview(ConvertedHead({kana, true, 12}, survey, store.Settings, &store.Gaiji),
                     TieWarning(kana, survey, store.Settings));
  Shoot(preview, QStringLiteral("12_report_preview"));

}

void ShootFileDialog(MainWindow& main, const std::string& samples) {
  // Qt's own file dialog, in Japanese, as the choosers show it without a desktop portal.
  QFileDialog chooser(&main, QStringLiteral("入力ﾌｧｲﾙの選択"), QString::fromStdString(samples));
  chooser.setOption(QFileDialog::DontUseNativeDialog);
  chooser.setFileMode(QFileDialog::ExistingFiles);
  chooser.setNameFilter(QtNameFilter(kFilterAll));
  FitFileDialog(chooser);
  Shoot(chooser, QStringLiteral("13_file_dialog_ja"));
}

}  // namespace

int main(int argc, char* argv[]) {
  QApplication app(argc, argv);
  QApplication::setApplicationDisplayName(QStringLiteral("Ferrox"));
  QApplication::setWindowIcon(AppIcon());
  if (!LoadQtJapanese()) QTextStream(stderr) << "Qt's Japanese translations are not installed\n";
  if (argc < 3) {
    QTextStream(stderr) << "usage: ferrox-gui-screenshots OUTPUT_FOLDER SAMPLE_FOLDER\n";
    return 2;
  }
  gFolder = QString::fromLocal8Bit(argv[1]);
  QDir().mkpath(gFolder);
  const Samples files = WriteSamples(argv[2]);
  const std::string& text = files.text;
  const std::string& mac = files.mac;
  SettingsStore store;
  (void)store.Load();
  MainWindow main(store, {QString::fromStdString(mac)});
  main.move(40, 40);
  Shoot(main, QStringLiteral("01_main_window"));
  main.SetInFileText(text);
  main.show();
  main.ProgressPanel(true);
  main.ShowProgress(42, 100);
  Shoot(main, QStringLiteral("02_main_window_progress"));
  main.ProgressPanel(false);
  main.show();

  ShootDialogs(main, store, mac);
  ShootRunAndPreview(main, store, files);
  ShootFileDialog(main, files.folder);
  return 0;
}
