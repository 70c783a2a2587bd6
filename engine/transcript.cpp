// SPDX-License-Identifier: GPL-3.0-or-later
#include "transcript.h"

#include <algorithm>
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
    if (lines_ == kMostLines || text_.size() + line.size() > kMostBytes) DropOlderLines();
    ++lines_;
    if (!text_.empty()) text_ += "\r\n";
    lastLineStart_ = text_.size();
    lastLineFirstRun_ = runs_.size();
    text_ += line;
    // The CR LF in front puts the pass back at line start, so the earlier runs stay as they are.
    ColorizeRTB(line, lastLineStart_, runs_);
}

void Transcript::DropOlderLines() {
    // Past the CR LF that ends the last line dropped; no run crosses a line break. The newest
    // line stays whatever its length.
    // A line the opponent sent may hold line breaks of its own: each piece counts as a line.
    std::size_t cut = 0;
    while (lines_ > kMostLines / 2 || text_.size() - cut > kMostBytes / 2) {
        const std::size_t end = text_.find("\r\n", cut);
        if (end == std::string::npos) break;
        cut = end + 2;
        if (lines_ > 1) --lines_;
    }
    text_.erase(0, cut);
    const auto kept = std::find_if(runs_.begin(), runs_.end(),
                                   [cut](const ColourRun& run) { return run.start >= cut; });
    runs_.erase(runs_.begin(), kept);
    for (ColourRun& run : runs_) run.start -= cut;
}

}  // namespace kelvane
