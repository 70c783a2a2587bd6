// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/lazy_socket.h"

#include <QCoreApplication>
#include <utility>

#include "game/failure.h"

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

WindowSocket& LazySocket::Real() {
    if (real_) return *real_;
    QStringList why;
    for (const QString& path : modules_) {
        library_.setFileName(path);
        using NewSocket = WindowSocket* (*)();
        if (auto make = reinterpret_cast<NewSocket>(library_.resolve("kelvane_new_socket"))) {
            real_.reset(make());
            break;
        }
        why << library_.errorString();
    }
    // A broken installation: the error reporter names what was missing.
    if (!real_)
        throw Failure(kInternalError, "The game's network side could not be loaded: " +
                                          why.join(QStringLiteral("; ")).toStdString());
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
    return *real_;
}

}  // namespace kelvane
