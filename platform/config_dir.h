#pragma once
// The per-user config folder: Ferrox.conf, SfxTbl.txt, SfxTbl.old and the
// default GaiTbl.txt live there.

#include <string>

namespace ferrox {

// $FERROX_CONFIG_DIR, else $XDG_CONFIG_HOME/Ferrox, else ~/.config/Ferrox.
// Empty environment values count as unset. No trailing "/".
[[nodiscard]] std::string ConfigDir();

// ConfigDir(), created (with its parents) when missing. Returns "" when it
// cannot be created.
[[nodiscard]] std::string EnsureConfigDir();

}  // namespace ferrox
