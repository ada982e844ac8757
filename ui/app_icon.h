#pragma once
// The program's icon: the installed theme icon "ferrox" when the desktop has
// it, else the same pictures built into the program.

// Qt
#include <QIcon>

namespace ferrox::ui {

[[nodiscard]] QIcon AppIcon();

}  // namespace ferrox::ui
