// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kelvane {

// Teaches Qt's accessibility how the window's own widgets present themselves to a screen reader:
// the announcer's notices as notifications, the frames without their empty card slots, and
// the keys' widget with the place its frame is on as a focusable child. Called once, before the
// window is built.
void InstallScreenReaderFactory();

// Answers the questions a screen reader has put to the window meanwhile, and does nothing else:
// for the game's one-second holds, during which the window handles no event. A reader that gets
// no answer within a second takes the window for dead and drops what it was about to say.
void AnswerScreenReader();

}  // namespace kelvane
