// SPDX-License-Identifier: GPL-3.0-or-later
#include "report_error.h"

#include <map>

namespace kelvane {

std::string Failure::StandardDescription(int number) {
    static const std::map<int, std::string> descriptions = {
        {kInvalidProcedureCall, "Invalid procedure call or argument"},
        {kOverflow, "Overflow"},
        {kOutOfMemory, "Out of memory"},
        {kSubscriptOutOfRange, "Subscript out of range"},
        {kDivisionByZero, "Division by zero"},
        {kTypeMismatch, "Type mismatch"},
        {kInternalError, "Internal error"},
    };
    auto it = descriptions.find(number);
    return it == descriptions.end() ? "Application-defined or object-defined error" : it->second;
}

std::string ComposeErrorReport(std::string_view procedure, const Failure& failure) {
    constexpr std::string_view kCrLf = "\r\n";
    std::string text = "An error has occurred in ";
    text.append(procedure).append(":").append(kCrLf).append(kCrLf);
    text.append(std::to_string(failure.number())).append(": ").append(failure.description());
    text.append(kCrLf).append(kCrLf);
    text.append("Continue Program? (Choosing No will end the program.)").append(kCrLf);
    text.append("(Also, this error has been copied to the clipboard.").append(kCrLf);
    text.append("Please paste into an email to ").append(kSupportAddress).append(")");
    return text;
}

void ErrorReporter::ReportError(std::string_view procedure, const Failure& failure) {
    // A failure numbered 0 is no failure: nothing to tell, and the clipboard stays as it is.
    if (failure.number() == 0) return;
    const std::string text = ComposeErrorReport(procedure, failure);
    prompt_.SetClipboardText(text);
    if (!prompt_.AskToContinue(text)) prompt_.EndProgram();
}

}  // namespace kelvane
