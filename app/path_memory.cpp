#include "app/path_memory.h"

#include <algorithm>

#include <QSettings>

namespace ferrox {
namespace {

const QString kGroup = QStringLiteral("Setting");

QString HistoryKey(const char* box, std::size_t i) { return QString::fromLatin1(box) + QString::number(i + 1); }

std::vector<std::string> ReadHistory(QSettings& store, const char* box) {
  std::vector<std::string> history;
  for (std::size_t i = 0; i < PathMemory::kHistorySize; ++i) {
    const std::string entry = store.value(HistoryKey(box, i)).toString().toStdString();
    if (!entry.empty() && std::find(history.begin(), history.end(), entry) == history.end()) {
      history.push_back(entry);
    }
  }
  return history;
}

void WriteHistory(QSettings& store, const char* box, const std::vector<std::string>& history) {
  for (std::size_t i = 0; i < PathMemory::kHistorySize; ++i) {
    if (i < history.size()) {
      store.setValue(HistoryKey(box, i), QString::fromStdString(history[i]));
    } else {
      store.remove(HistoryKey(box, i));
    }
  }
}

}  // namespace

void PathMemory::Remember(std::vector<std::string>& history, const std::string& entry) {
  if (entry.empty()) return;
  std::erase(history, entry);
  history.insert(history.begin(), entry);
  if (history.size() > kHistorySize) history.resize(kHistorySize);
}

PathMemory LoadPathMemory(const std::string& settingsFile) {
  QSettings store(QString::fromStdString(settingsFile), QSettings::IniFormat);
  store.beginGroup(kGroup);
  PathMemory memory;
  memory.inFolder = store.value(QStringLiteral("InFolder")).toString().toStdString();
  memory.outFolder = store.value(QStringLiteral("OutFolder")).toString().toStdString();
  memory.inHistory = ReadHistory(store, "InHistory");
  memory.outHistory = ReadHistory(store, "OutHistory");
  return memory;
}

bool SavePathMemory(const std::string& settingsFile, const PathMemory& memory) {
  QSettings store(QString::fromStdString(settingsFile), QSettings::IniFormat);
  store.beginGroup(kGroup);
  store.setValue(QStringLiteral("InFolder"), QString::fromStdString(memory.inFolder));
  store.setValue(QStringLiteral("OutFolder"), QString::fromStdString(memory.outFolder));
  WriteHistory(store, "InHistory", memory.inHistory);
  WriteHistory(store, "OutHistory", memory.outHistory);
  store.endGroup();
  store.sync();
  return store.status() == QSettings::NoError;
}

}  // namespace ferrox
