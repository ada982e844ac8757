// The Japanese fixed-pitch font.

#include "ui/fixed_font.h"

// Qt
#include <QFontDatabase>
#include <QFontInfo>

namespace ferrox::ui {

QFont JapaneseFixedFont() {
  // Debian's IPA Gothic is fixed-pitch for both widths; the Noto CJK mono
  // face is the usual one elsewhere.
  for (const char* family : {"IPAGothic", "Noto Sans Mono CJK JP", "VL Gothic"}) {
    QFont font(QString::fromLatin1(family));
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    if (QFontInfo(font).family() == font.family()) return font;
  }
  return QFontDatabase::systemFont(QFontDatabase::FixedFont);
}

}  // namespace ferrox::ui
