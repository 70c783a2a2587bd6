// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

#include "game/failure.h"

namespace kelvane {

// Where reports are sent so the maintainers can be reached from the clipboard text.
inline constexpr std::string_view kSupportAddress = "support@kelvane.org";

// The player's side of a failure report. The window shows a real box and fills the real
// clipboard; the bot and the tests answer on their own.
class ErrorPrompt {
  public:
    virtual ~ErrorPrompt() = default;
    // Empties the clipboard, then puts the text on it as plain text.
    virtual void SetClipboardText(const std::string& text) = 0;
    // A modal box titled "Program Error" with Yes and No and the critical icon; true for Yes.
    virtual bool AskToContinue(const std::string& text) = 0;
    // Ends the program on the spot: no further event handler runs. Must not return normally.
    virtual void EndProgram() = 0;
};

// The text the player sees and the clipboard holds for a failure in the named procedure.
std::string ComposeErrorReport(std::string_view procedure, const Failure& failure);

// ReportError: tells the player, copies the report, and either returns (the procedure goes on
// with its next step) or ends the program when the player answers No.
class ErrorReporter {
  public:
    explicit ErrorReporter(ErrorPrompt& prompt) : prompt_(prompt) {}
    void ReportError(std::string_view procedure, const Failure& failure);

  private:
    ErrorPrompt& prompt_;
};

}  // namespace kelvane
