// Builders for the option dialogs.

#include "ui/option_widgets.h"

// Qt
#include <QCheckBox>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>

namespace ferrox::ui {

QCheckBox* MakeCheck(QWidget* parent, const char* name, const QString& text, bool on) {
  auto* box = new QCheckBox(text, parent);
  box->setObjectName(QLatin1String(name));
  box->setChecked(on);
  return box;
}

QRadioButton* MakeRadio(QWidget* parent, const char* name, const QString& text, bool on) {
  auto* button = new QRadioButton(text, parent);
  button->setObjectName(QLatin1String(name));
  button->setChecked(on);
  return button;
}

QSpinBox* MakeSpin(QWidget* parent, const char* name, int min, int max, int value, const QString& suffix) {
  auto* spin = new QSpinBox(parent);
  spin->setObjectName(QLatin1String(name));
  spin->setRange(min, max);
  spin->setValue(value);
  spin->setSuffix(suffix);
  spin->setGroupSeparatorShown(true);
  spin->setAlignment(Qt::AlignRight);
  spin->setMinimumWidth(110);
  return spin;
}

QPushButton* MakeButton(QWidget* parent, const char* name, const QString& text) {
  auto* button = new QPushButton(text, parent);
  button->setObjectName(QLatin1String(name));
  button->setAutoDefault(false);
  return button;
}

void SetBit(std::uint16_t& word, std::uint16_t bit, bool on) {
  word = on ? static_cast<std::uint16_t>(word | bit) : static_cast<std::uint16_t>(word & ~bit);
}

}  // namespace ferrox::ui
