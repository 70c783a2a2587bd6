// SPDX-License-Identifier: GPL-3.0-or-later
// Hosting a friend in another home: the router asked to forward the serving port, the machine's
// IPv6 address, and what to give the friend, told beside the game's own waiting text.

#include <QAction>
#include <QMenu>
#include <QStringList>

#include "portmap/address.h"
#include "qtnet/window_socket.h"
#include "ui/form1.h"

namespace kelvane {

namespace {

std::string IPv6Sentence(const std::string& address, int port) {
    return "This machine's IPv6 address: a friend with IPv6 connects to " +
           FormatServerAddress(address, port) +
           " directly, once the firewall lets the game's port in.";
}

}  // namespace

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
    if (const std::string v6 = socket_.GlobalIPv6Address(); !v6.empty()) {
        hostTips_.push_back(IPv6Sentence(v6, port));
        AddHistory(hostTips_.back());
        friendAddress_ = FormatServerAddress(v6, port);
        mnuCopyAddress_->setEnabled(true);
    }
    ShowStatusTip();
    if (!mnuOpenRouter_->isChecked()) return;
    const int opened = ++doorsOpened_;
    // Told from the door's thread; shown on the window's, unless hosting has stopped since.
    door_ = socket_.OpenRouter(port, [this, opened](const DoorReport& report) {
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
    friendAddress_.clear();
    ForgetTypedPort();
    if (mnuCopyAddress_) mnuCopyAddress_->setEnabled(false);
    if (lblStatus_) ShowStatusTip();
}

void Form1::ShowRouterReport(const DoorReport& report) {
    hostTips_.push_back(DoorSentence(report));
    AddHistory(hostTips_.back());
    ShowStatusTip();
    if (report.outcome == DoorOutcome::kLost) {
        // The router's address leads nowhere now; the IPv6 one, if any, still does, and this
        // network's always does for a friend on it.
        const std::string v6 = socket_.GlobalIPv6Address();
        friendAddress_ = v6.empty() ? homeAddress_ : FormatServerAddress(v6, report.insidePort);
        mnuCopyAddress_->setEnabled(!friendAddress_.empty());
        ShowHostingLine();
    }
    if (report.outcome != DoorOutcome::kOpen) return;
    // The router's address reaches a friend with IPv4 as well as with IPv6: it is the one to give.
    friendAddress_ = FormatServerAddress(report.outsideAddress, report.outsidePort);
    mnuCopyAddress_->setEnabled(true);
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
