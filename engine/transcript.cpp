#include "transcript.h"

#include <optional>

namespace kelvane {

void ColorizeRTB(std::string_view text, std::size_t base, std::vector<ColourRun>& runs) {
    std::optional<Rgb> state;  // nullopt: line start
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char ch = text[i];
        const bool lineBreak = ch == '\r' || ch == '\n';
        if (!state) {
            if (!lineBreak) state = ch == 'Y' ? kBlue : ch == 'O' ? kRed : kBlack;
        } else if (lineBreak) {
            state.reset();
        } else if (ch == ' ' && *state != kBlack) {
            state = kBlack;
        }
        if (!state) continue;
        const std::size_t at = base + i;
        if (!runs.empty() && runs.back().colour == *state &&
            runs.back().start + runs.back().length == at) {
            ++runs.back().length;
        } else {
            runs.push_back({at, 1, *state, *state != kBlack});
        }
    }
}

void Transcript::AddLine(std::string_view line) {
    if (!text_.empty()) text_ += "\r\n";
    lastLineStart_ = text_.size();
    lastLineFirstRun_ = runs_.size();
    text_ += line;
    // The CR LF in front puts the pass back at line start, so the earlier runs stay as they are.
    ColorizeRTB(line, lastLineStart_, runs_);
}

}  // namespace kelvane
