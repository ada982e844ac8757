#pragma once
// The fixed-pitch font of the windows that show columns (survey report, the
// information panel, the suffix list, the preview): a Japanese one, so a
// full-width character is exactly two half-width columns and digits do not
// come from another font under a non-Japanese locale.

// Qt
#include <QFont>

namespace ferrox::ui {

[[nodiscard]] QFont JapaneseFixedFont();

}  // namespace ferrox::ui
