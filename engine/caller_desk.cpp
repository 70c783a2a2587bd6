// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/caller_desk.h"

#include <utility>

namespace kelvane {

void CallerDesk::Admit(long requestId, int busy) {
    std::optional<int> socket = room_.FreeSocket(busy);
    if (!socket) {
        socket = room_.OldestSocket();
        TurnAway(*socket);
    }
    socket_.Accept(*socket, requestId);
    // A fresh challenge for every caller, so no answer heard once opens the door again.
    const std::string challenge = resume_.NewChallenge();
    if (const auto leaving = room_.Admit(*socket, socket_.PeerAddress(*socket), challenge))
        socket_.Close(*leaving);
    socket_.Send(*socket, Frame(ChallengeMessage(challenge)));
}

bool CallerDesk::Read(int socket) {
    CallerRoom::Caller* caller = room_.On(socket);
    // A caller turned away while his bytes were on their way: they are nobody's.
    if (!caller) {
        if (socket_.State(socket) == kSocketConnected) socket_.Read(socket);
        return false;
    }
    caller->reader.Accept(socket_.Read(socket));
    return true;
}

// The caller must answer his challenge with the keyed hash only the client that left can make;
// a Kelvane program with no game of its own may be starting a new session.
std::optional<CallerDesk::Claim> CallerDesk::Next(int socket) {
    std::string message;
    for (CallerRoom::Caller* caller = room_.On(socket); caller; caller = room_.On(socket)) {
        const FrameReader::Cut cut = caller->reader.Next(message);
        if (cut == FrameReader::Cut::kNone) return std::nullopt;
        // A flood is only turned away, whatever it holds.
        if (cut == FrameReader::Cut::kTooLong) break;
        if (cut == FrameReader::Cut::kEmpty) continue;
        const Received r = ReadMessage(message);
        Claim claim{socket, caller->order, caller->address, std::nullopt, r.hello};
        if (r.readable && r.kind == MessageKind::kProof &&
            resume_.Proves(r.proof, caller->challenge)) {
            claim.proof = r.proof;
            return claim;
        }
        if (r.readable && r.kind == MessageKind::kHello && !r.hello.game && !r.hello.key.empty() &&
            r.hello.version == kExtensionVersion)
            return claim;
        break;
    }
    TurnAway(socket);
    return std::nullopt;
}

bool CallerDesk::Holds(const Claim& claim) {
    const CallerRoom::Caller* caller = room_.On(claim.socket);
    return caller && caller->order == claim.order;
}

CallerRoom::Caller CallerDesk::Release(int socket) {
    CallerRoom::Caller caller = std::move(*room_.On(socket));
    room_.Forget(socket);
    return caller;
}

void CallerDesk::TurnAway(int socket) {
    if (!room_.On(socket)) return;
    room_.Forget(socket);
    socket_.Close(socket);
}

void CallerDesk::Tick() {
    for (int socket : room_.Tick()) socket_.Close(socket);
}

void CallerDesk::CloseAll() {
    for (int socket : room_.Clear()) socket_.Close(socket);
}

}  // namespace kelvane
