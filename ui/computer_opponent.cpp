// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/computer_opponent.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <utility>

#ifdef __linux__
#include <signal.h>
#include <sys/prctl.h>
#endif

namespace kelvane {

namespace {
// Starting the bot takes a fraction of a second; a machine under load gets much longer.
constexpr int kStartMs = 10000;
}  // namespace

ComputerOpponent::ComputerOpponent(QObject* parent) : QObject(parent) {
    process_.setProcessChannelMode(QProcess::SeparateChannels);
    // Its round lines are for a terminal; unread, they would only fill a pipe.
    process_.setStandardOutputFile(QProcess::nullDevice());
#ifdef __linux__
    // Should the window's process die without killing it, the bot goes too.
    process_.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
#endif
    connect(&process_, &QProcess::readyReadStandardError, this, &ComputerOpponent::ReadError);
    connect(&process_, &QProcess::errorOccurred, this, [this](QProcess::ProcessError e) {
        if (e == QProcess::FailedToStart) Fail();
    });
    connect(&process_, &QProcess::finished, this, [this] {
        if (listened_) {
            Q_EMIT stopped();
            return;
        }
        Fail();
    });
    deadline_.setSingleShot(true);
    connect(&deadline_, &QTimer::timeout, this, [this] {
        process_.kill();
        Fail();
    });
}

ComputerOpponent::~ComputerOpponent() {
    process_.disconnect(this);
    if (process_.state() == QProcess::NotRunning) return;
    process_.kill();
    process_.waitForFinished(2000);
}

QString ComputerOpponent::FindProgram() {
    const QDir here(QCoreApplication::applicationDirPath());
    for (const QString& path : {here.filePath("kelvane-bot"), here.filePath("../bot/kelvane-bot")})
        if (QFileInfo(path).isExecutable()) return QFileInfo(path).canonicalFilePath();
    return {};
}

void ComputerOpponent::Start(const QString& program, const QStringList& extra) {
    if (program.isEmpty()) return Fail();
    deadline_.start(kStartMs);
    // The seat is this window's: no other machine may take it while the window connects.
    process_.start(program, QStringList{"--serve", "--listen", "127.0.0.1", "--port", "0"} + extra);
}

void ComputerOpponent::ReadError() {
    err_ += QString::fromLocal8Bit(process_.readAllStandardError());
    // Until it listens only its start-up lines matter; afterwards its chat lines are dropped.
    if (told_) {
        err_.clear();
        return;
    }
    static const QRegularExpression port("on port (\\d+)\\n");
    const QRegularExpressionMatch m = port.match(err_);
    if (!m.hasMatch()) return;
    told_ = listened_ = true;
    deadline_.stop();
    err_.clear();
    Q_EMIT listening(m.captured(1).toInt());
}

void ComputerOpponent::Fail() {
    if (std::exchange(told_, true)) return;
    deadline_.stop();
    Q_EMIT failed();
}

}  // namespace kelvane
