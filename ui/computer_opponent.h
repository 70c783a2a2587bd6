// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTimer>

namespace kelvane {

// The computer opponent for a game without a second player: kelvane-bot started as the server on
// a free loopback port, for the window to connect to as its client. The bot binds port 0 itself
// and names the port it got, so no other program can take the port between choosing and
// listening. It goes with this object: killed when it is destroyed, and on Linux also when the
// window's process dies without a chance to kill it.
class ComputerOpponent : public QObject {
    Q_OBJECT

  public:
    explicit ComputerOpponent(QObject* parent = nullptr);
    ~ComputerOpponent() override;

    // kelvane-bot beside this program (the installed layout) or in the build tree's bot folder;
    // empty when neither exists.
    static QString FindProgram();

    // Starts `program` serving; `extra` is added to its command line (a level, say). Reports
    // `listening` with the port once it waits for the window, or `failed` within a few seconds.
    void Start(const QString& program, const QStringList& extra = {});
    bool running() const { return process_.state() != QProcess::NotRunning; }
    qint64 processId() const { return process_.processId(); }

  Q_SIGNALS:
    void listening(int port);
    void failed();
    // It stopped after it had been listening: killed, crashed or ended.
    void stopped();

  private:
    void ReadError();
    void Fail();

    QProcess process_;
    QString err_;
    QTimer deadline_;
    bool told_ = false;
    bool listened_ = false;
};

}  // namespace kelvane
