// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/lazy_socket.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <utility>

#include "game/failure.h"
#include "words/texts.h"

namespace kelvane {

LazySocket::LazySocket(QStringList modules) : modules_(std::move(modules)) {}

LazySocket::~LazySocket() = default;

QStringList LazySocket::DefaultModules() {
    const QString program = QCoreApplication::applicationDirPath();
    return {program + QStringLiteral("/" KELVANE_MODULE_FROM_PROGRAM "/kelvane-network.so"),
            program + QStringLiteral("/kelvane-network.so")};
}

void LazySocket::ListenOn(const std::string& address) {
    listenOn_ = address;
    if (real_) real_->ListenOn(address);
}

std::string LazySocket::SessionsUnavailable() {
    if (Load()) return {};
    // The loader's own words name symbols and libraries the player cannot act on; the file, its
    // place and the repair are what he needs.
    const QString where = modules_.isEmpty() ? QString() : modules_.front();
    return NetworkPartMissingText(QFileInfo(where).fileName().toStdString(),
                                  QFileInfo(where).absolutePath().toStdString());
}

WindowSocket& LazySocket::Real() {
    // The window asks SessionsUnavailable before any session; a broken installation reaching
    // here all the same is a fault of the window's, for the error reporter.
    if (!Load()) throw Failure(kInternalError, SessionsUnavailable());
    return *real_;
}

bool LazySocket::Load() {
    if (real_) return true;
    for (const QString& path : modules_) {
        library_.setFileName(path);
        using NewSocket = WindowSocket* (*)();
        if (auto make = reinterpret_cast<NewSocket>(library_.resolve("kelvane_new_socket"))) {
            real_.reset(make());
            break;
        }
    }
    if (!real_) return false;
    real_->ListenOn(listenOn_);
    real_->onConnectionRequest = [this](int index, long requestId) {
        if (onConnectionRequest) onConnectionRequest(index, requestId);
    };
    real_->onDataArrival = [this](int index) {
        if (onDataArrival) onDataArrival(index);
    };
    real_->onClose = [this](int index) {
        if (onClose) onClose(index);
    };
    real_->onConnectFailed = [this] {
        if (onConnectFailed) onConnectFailed();
    };
    real_->onConnected = [this](int index) {
        if (onConnected) onConnected(index);
    };
    return true;
}

}  // namespace kelvane
