// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <string>

namespace kelvane {

// Chat text travels one byte per character in Windows-1252, the code page the other program
// expects; a character it cannot hold goes out as "?".
std::string ToCodePage(const QString& text);
QString FromCodePage(const std::string& bytes);

}  // namespace kelvane
