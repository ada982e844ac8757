#pragma once
// Small builders shared by the option dialogs, and the bit helper they use.

#include <cstdint>

// Qt
#include <QString>

class QCheckBox;
class QPushButton;
class QRadioButton;
class QSpinBox;
class QWidget;

namespace ferrox::ui {

[[nodiscard]] QCheckBox* MakeCheck(QWidget* parent, const char* name, const QString& text, bool on);
[[nodiscard]] QRadioButton* MakeRadio(QWidget* parent, const char* name, const QString& text, bool on);
[[nodiscard]] QSpinBox* MakeSpin(QWidget* parent, const char* name, int min, int max, int value,
                                 const QString& suffix);
// A button that never becomes the default on Enter.
[[nodiscard]] QPushButton* MakeButton(QWidget* parent, const char* name, const QString& text);

// Sets or clears `bit` of a flag word.
void SetBit(std::uint16_t& word, std::uint16_t bit, bool on);

}  // namespace ferrox::ui
