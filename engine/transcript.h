// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

struct Rgb {
    std::uint8_t red, green, blue;
    friend bool operator==(const Rgb&, const Rgb&) = default;
};
inline constexpr Rgb kBlue{0, 0, 255};
inline constexpr Rgb kRed{255, 0, 0};
inline constexpr Rgb kBlack{0, 0, 0};

// Characters [start, start + length) of the transcript drawn in one colour; blue and red are bold.
struct ColourRun {
    std::size_t start;
    std::size_t length;
    Rgb colour;
    bool bold;
    friend bool operator==(const ColourRun&, const ColourRun&) = default;
};

// The chat transcript: lines joined by CR LF, each speaker's name coloured up to the first space,
// blue for "YOU", red for "OPPONENT". A line's colours depend only on that line, so appending
// colours just the new text and costs the same however long the conversation has grown. Positions
// are not limited to 16 bits: the transcript keeps working past 32,767 characters.
class Transcript {
  public:
    // What is kept: past this many lines, or this many bytes, the older lines are dropped until
    // half of each is left, so an opponent's program that chats without end, in lines as long
    // as a frame, cannot grow the transcript, or the view that shows it, without bound.
    static constexpr std::size_t kMostLines = 2000;
    static constexpr std::size_t kMostBytes = 256 * 1024;

    // Appends one line (CR LF in front unless the transcript is empty) and colours it.
    void AddLine(std::string_view line);

    const std::string& text() const { return text_; }
    const std::vector<ColourRun>& runs() const { return runs_; }
    // Where the last added line starts, and its first run: what a view appends.
    std::size_t lastLineStart() const { return lastLineStart_; }
    std::size_t lastLineFirstRun() const { return lastLineFirstRun_; }

  private:
    void DropOlderLines();

    std::string text_;
    std::size_t lines_ = 0;
    std::vector<ColourRun> runs_;
    std::size_t lastLineStart_ = 0;
    std::size_t lastLineFirstRun_ = 0;
};

// One pass over text, character by character, from the state "line start", appending the runs it
// colours (positions offset by `base`). Used on the whole transcript it is the colouring pass the
// view's resize reapplies; used on an appended line it is the incremental step.
void ColorizeRTB(std::string_view text, std::size_t base, std::vector<ColourRun>& runs);

}  // namespace kelvane
