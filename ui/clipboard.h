// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kelvane {

// Gives the text this program holds on the clipboard to the desktop's clipboard keeper, where
// there is one, so it outlives the program. An orderly exit does this when the application object
// goes; a program that ends at once must ask for it. Afterwards this program holds no clipboard.
void HandOverClipboard();

}  // namespace kelvane
