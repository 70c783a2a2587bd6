// SPDX-License-Identifier: GPL-3.0-or-later
#include "headless/headless_ports.h"

#include "engine/steps.h"

namespace kelvane {

bool HeadlessErrors::AskToContinue(const std::string& text) {
    reports_.push_back(text);
    return true;
}

void HeadlessErrors::EndProgram() {
    throw ProgramEnded{};
}

}  // namespace kelvane
