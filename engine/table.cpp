// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/table.h"

#include <utility>

namespace kelvane {

// The session and the play hold each other: the session applies the opponent's moves to the
// play, the play hands its messages to the session as its outbox. The session is built first and
// reaches the play only once both stand.
Table::Table(Ports ports, std::function<RandomSource()> shuffleSource, Secrets* secrets)
    : reporter_(ports.errors),
      gate_([this](int index) { tcpTalker_DataArrival(index); },
            [this](int index) { tcpTalker_Close(index); }, [this] { play_.CheckState(); }),
      session_({ports.screen, ports.prompts, ports.socket, reporter_, gate_,
                secrets ? *secrets : systemSecrets_},
               play_),
      play_(ports.screen, ports.prompts, reporter_, session_, std::move(shuffleSource)) {}

void Table::imgStack_Click() {
    gate_.Enter([&] { play_.DrawFromStack(); });
}

void Table::imgUpPile_Click(Int16 index) {
    gate_.Enter([&] { play_.TakeFromUpPile(index); });
}

void Table::frTable_Click() {
    gate_.Enter([&] { play_.Meld(kNewColumn); });
}

void Table::imgMeld_Click(Int16 index) {
    gate_.Enter([&] { play_.Meld((index / kSlotsPerColumn).value()); });
}

void Table::imgLocal_MouseDown(Int16 index, Int16 button) {
    gate_.Enter([&] { play_.HandClicked(index, button); });
}

void Table::mnuWarnMeld_Click() {
    gate_.Enter([&] { play_.ToggleWarnMeld(); });
}

void Table::cmdSend_Click(const std::string& typed) {
    gate_.Enter([&] { play_.Say(typed); });
}

void Table::mnuServer_Click() {
    gate_.Enter([&] { session_.Serve(); });
}

void Table::mnuClient_Click() {
    gate_.Enter([&] { session_.Call(); });
}

void Table::tcpTalker_ConnectionRequest(int index, long requestId) {
    gate_.Enter([&] { session_.ConnectionRequest(index, requestId); });
}

void Table::tcpTalker_DataArrival(int index) {
    if (index < 0 || index >= kSockets || gate_.HoldArrival(index)) return;
    gate_.Enter([&] { session_.DataArrival(index); });
}

void Table::tcpTalker_Close(int index) {
    // Like data, the peer's going away waits for the handler in progress, box and all.
    if (index < 0 || index >= kSockets || gate_.HoldClose(index)) return;
    gate_.Enter([&] { session_.Closed(index); });
}

void Table::ConnectionFailed() {
    gate_.Enter([&] { session_.ConnectionFailed(); });
}

void Table::tcpTalker_Connect(int index) {
    gate_.Enter([&] { session_.Connected(index); });
}

void Table::Reconnect() {
    gate_.Enter([&] { session_.Reconnect(); });
}

void Table::GiveUpWaiting() {
    gate_.Enter([&] { session_.GiveUpWaiting(); });
}

void Table::OpponentStopped() {
    gate_.Enter([&] { session_.OpponentStopped(); });
}

void Table::Tick() {
    gate_.Enter([&] { session_.Tick(); });
}

void Table::Quit() {
    gate_.Enter([&] { session_.Quit(); });
}

void Table::RefreshHands(char which) {
    play_.RefreshHands(which);
}

void Table::Data_Process(const std::string& message) {
    gate_.Enter([&] { session_.Process(message); });
}

}  // namespace kelvane
