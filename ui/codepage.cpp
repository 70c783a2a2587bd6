// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/codepage.h"

#include <QList>
#include <array>

namespace kelvane {

namespace {

// 0x80..0x9F, where Windows-1252 differs from Latin-1; 0 marks the five unused bytes.
constexpr std::array<char16_t, 32> kHighControls = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char Encode(char32_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<char>(c);
    for (std::size_t i = 0; i < kHighControls.size(); ++i)
        if (kHighControls[i] == c && c != 0) return static_cast<char>(0x80 + i);
    return '?';
}

}  // namespace

std::string ToCodePage(const QString& text) {
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(text.size()));
    // By character, not by UTF-16 unit: a character beyond the first 65,536 is one "?", not two.
    for (const char32_t c : text.toUcs4()) bytes.push_back(Encode(c));
    return bytes;
}

QString FromCodePage(const std::string& bytes) {
    QString text;
    text.reserve(static_cast<qsizetype>(bytes.size()));
    for (char b : bytes) {
        const auto u = static_cast<unsigned char>(b);
        const char16_t mapped = u >= 0x80 && u < 0xA0 ? kHighControls[u - 0x80] : u;
        // The five bytes the code page leaves unused show as the mark for a character lost.
        text.append(mapped == 0 ? QChar(QChar::ReplacementCharacter) : QChar(mapped));
    }
    return text;
}

}  // namespace kelvane
