// SPDX-License-Identifier: GPL-3.0-or-later
// Hosting a friend in another home: the router asked to forward the serving port, the machine's
// IPv6 address, and what to give the friend, told beside the game's own waiting text.

#include <QAction>
#include <QMenu>
#include <QStringList>

#include "portmap/address.h"
#include "ui/form1.h"
#include "ui/window_socket.h"
#include "words/router_texts.h"

namespace kelvane {

void Form1::BuildRouterMenus(QMenu* connectMenu, QMenu* options) {
    mnuCopyAddress_ = connectMenu->addAction("Copy &Address");
    mnuCopyAddress_->setObjectName("mnuCopyAddress");
    mnuCopyAddress_->setEnabled(false);
    mnuOpenRouter_ = options->addAction("Open the &Router When Serving");
    mnuOpenRouter_->setObjectName("mnuOpenRouter");
    mnuOpenRouter_->setCheckable(true);
    // The game stores nothing, so the choice starts made at every start.
    mnuOpenRouter_->setChecked(true);
    connect(mnuCopyAddress_, &QAction::triggered, this,
            [this] { SetClipboardText(friendAddress_); });
}

void Form1::StartHosting() {
    StopHosting();
    const int port = socket_.LocalPort(0);
    const std::string v6 = socket_.GlobalIPv6Address();
    const bool askRouter = mnuOpenRouter_->isChecked();
    // Unasked, the router may or may not let the IPv6 address in: it is given with that caveat.
    // Asked, it is given once the router says its firewall lets the game's port in.
    if (!v6.empty() && !askRouter) {
        hostTips_.push_back(IPv6AddressSentence(v6, port));
        AddHistory(hostTips_.back());
        friendAddress_ = FormatServerAddress(v6, port);
        mnuCopyAddress_->setEnabled(true);
    }
    ShowStatusTip();
    if (!askRouter) return;
    pinholeAsked_ = !v6.empty();
    const int opened = ++doorsOpened_;
    // Told from the doors' threads; shown on the window's, unless hosting has stopped since.
    door_ = socket_.OpenRouter(port, v6, [this, opened](const DoorReport& report) {
        QMetaObject::invokeMethod(
            this,
            [this, opened, report] {
                if (opened == doorsOpened_ && door_) ShowRouterReport(report);
            },
            Qt::QueuedConnection);
    });
}

void Form1::StopHosting() {
    ++doorsOpened_;
    door_.reset();
    hostTips_.clear();
    toldIPv4_.reset();
    toldIPv6_.reset();
    pinholeAsked_ = false;
    friendAddress_.clear();
    ForgetTypedPort();
    if (mnuCopyAddress_) mnuCopyAddress_->setEnabled(false);
    if (lblStatus_) ShowStatusTip();
}

void Form1::ShowRouterReport(const DoorReport& report) {
    (report.family == DoorFamily::kIPv6 ? toldIPv6_ : toldIPv4_) = report;
    hostTips_.push_back(DoorSentence(report));
    AddHistory(hostTips_.back());
    // Once every door asked has answered (and again when one is lost), what they come to.
    if (toldIPv4_ && (toldIPv6_ || !pinholeAsked_)) {
        if (const std::string summary = ReachSentence({*toldIPv4_, toldIPv6_}); !summary.empty()) {
            hostTips_.push_back(summary);
            AddHistory(summary);
        }
    }
    GiveOpenDoors();
    ShowStatusTip();
}

void Form1::GiveOpenDoors() {
    std::string given;
    for (const std::string& address :
         AddressesToGive({toldIPv4_.value_or(DoorReport{}), toldIPv6_}))
        given += (given.empty() ? "" : " or ") + address;
    friendAddress_ = given.empty() ? homeAddress_ : given;
    mnuCopyAddress_->setEnabled(!friendAddress_.empty());
}

void Form1::ShowStatusTip() {
    std::vector<std::string> lines = hostTips_;
    if (!peerTip_.empty()) lines.insert(lines.begin(), peerTip_);
    // A tooltip takes markup, and the opponent's program names itself: every line is shown as
    // the text it is, each on a line of its own.
    QStringList shown;
    for (const std::string& line : lines)
        shown << QString::fromStdString(line).toHtmlEscaped().replace('\n', QStringLiteral("<br>"));
    lblStatus_->setToolTip(shown.isEmpty() ? QString()
                                           : "<qt>" + shown.join(QStringLiteral("<br>")) + "</qt>");
    ShowHostingLine();
}

bool Form1::NetworkReady() {
    const std::string why = socket_.SessionsUnavailable();
    if (why.empty()) return true;
    AddHistory(why);
    EnableSessionMenus(true);
    ShowBox({why, Buttons::kOk, Icon::kExclamation, ""});
    return false;
}

void Form1::GiveBackDoorNow() {
    ++doorsOpened_;
    door_.reset();
    socket_.AwaitRouterGiveBacks();
}

std::string Form1::TakeAddress(const std::string& typed) {
    ForgetTypedPort();
    const auto address = ParseServerAddress(typed, 0);
    // What is no address at all is tried as typed, and fails as the game says it does.
    if (!address) return typed;
    if (address->port != 0) {
        table_->UsePort(address->port);
        portFromAddress_ = true;
    }
    return address->host;
}

void Form1::ForgetTypedPort() {
    // A port typed with an address holds for that session and its reconnections only.
    if (std::exchange(portFromAddress_, false)) table_->UsePort(kGamePort);
}

}  // namespace kelvane
