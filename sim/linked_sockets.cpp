// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/linked_sockets.h"

#include <utility>

#include "game/failure.h"

namespace kelvane::sim {

namespace {
constexpr int kListener = 0;
}

const char* SideName(Side side) {
    return side == Side::kServer ? "server" : "client";
}

void LinkedSockets::Deliver(Side from, std::size_t count) {
    End& sender = Of(from);
    if (count > sender.inFlight.size()) Raise(kInvalidProcedureCall);
    Of(Other(from)).received.append(sender.inFlight, 0, count);
    sender.inFlight.erase(0, count);
}

bool LinkedSockets::TakeCloseEvent(Side side) {
    return std::exchange(Of(side).closeEvent, false);
}

bool LinkedSockets::TakeConnectEvent(Side side) {
    return std::exchange(Of(side).connectEvent, false);
}

void LinkedSockets::Cut() {
    for (Side side : {Side::kServer, Side::kClient}) {
        End& end = Of(side);
        end.inFlight.clear();
        end.received.clear();
        int& state = end.states[static_cast<std::size_t>(ConnectionIndex(side))];
        if (state != kSocketConnected) continue;
        state = kSocketClosing;
        end.closeEvent = true;
    }
}

int& LinkedSockets::Sockets::StateOf(int index) {
    if (index < 0 || index >= kSockets) Raise(kSubscriptOutOfRange);
    return link_.Of(side_).states[static_cast<std::size_t>(index)];
}

void LinkedSockets::Sockets::RequireConnection(int index) const {
    if (index != link_.ConnectionIndex(side_)) Raise(kInvalidProcedureCall);
}

void LinkedSockets::Sockets::Listen(int index, int) {
    // Only the server's first socket is wired to accept the client.
    if (side_ != Side::kServer || index != kListener) Raise(kInvalidProcedureCall);
    StateOf(index) = kSocketListening;
}

std::string LinkedSockets::Sockets::LocalIP(int) {
    return "127.0.0.1";
}

void LinkedSockets::Sockets::Connect(int index, const std::string& host, int) {
    if (side_ != Side::kClient) Raise(kInvalidProcedureCall);
    RequireConnection(index);
    // Like a real connect, the outcome is not known at once: the request waits for the server.
    const bool listening = link_.Of(Side::kServer).states[kListener] == kSocketListening;
    if (host.empty() || !listening) {
        StateOf(index) = kSocketError;
        return;
    }
    StateOf(index) = kSocketConnecting;
    link_.pending_ = link_.nextRequest_++;
}

int LinkedSockets::Sockets::State(int index) {
    return StateOf(index);
}

void LinkedSockets::Sockets::Accept(int index, long requestId) {
    if (side_ != Side::kServer || link_.pending_ != requestId) Raise(kInvalidProcedureCall);
    if (index == kListener || StateOf(index) != kSocketClosed) Raise(kInvalidProcedureCall);
    // One client at a time is wired to the server: the socket it is accepted on carries it.
    link_.serverConnection_ = index;
    link_.pending_.reset();
    StateOf(index) = kSocketConnected;
    End& client = link_.Of(Side::kClient);
    client.states[static_cast<std::size_t>(link_.ConnectionIndex(Side::kClient))] =
        kSocketConnected;
    client.connectEvent = true;
}

void LinkedSockets::Sockets::Refuse(int, long requestId) {
    if (side_ != Side::kServer || link_.pending_ != requestId) Raise(kInvalidProcedureCall);
    link_.pending_.reset();
    link_.Of(Side::kClient).states[static_cast<std::size_t>(link_.ConnectionIndex(Side::kClient))] =
        kSocketError;
}

void LinkedSockets::Sockets::Send(int index, const std::string& bytes) {
    RequireConnection(index);
    if (StateOf(index) != kSocketConnected)
        throw Failure(40006, "Wrong protocol or connection state for the requested transaction");
    End& me = link_.Of(side_);
    me.inFlight += bytes;
    me.sent += bytes.size();
    // The engine sends one frame at a time.
    if (!bytes.starts_with("(K:")) me.gameText += bytes;
}

std::string LinkedSockets::Sockets::Read(int index) {
    RequireConnection(index);
    return std::exchange(link_.Of(side_).received, std::string());
}

void LinkedSockets::Sockets::Close(int index) {
    int& state = StateOf(index);
    const bool wasConnected = index == link_.ConnectionIndex(side_) && state == kSocketConnected;
    state = kSocketClosed;
    if (side_ == Side::kServer && index == kListener) link_.pending_.reset();
    if (!wasConnected) return;
    End& peer = link_.Of(Other(side_));
    peer.states[static_cast<std::size_t>(link_.ConnectionIndex(Other(side_)))] = kSocketClosing;
    peer.closeEvent = true;
}

}  // namespace kelvane::sim
