// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane::test {

// A round of a whole game takes milliseconds, so a game in which nothing has moved for this long
// has stopped; calling it then keeps a hung game from holding the suite up.
inline constexpr int kStalledAfterMs = 5'000;
// The last resort, for a game that keeps moving but never ends.
inline constexpr int kGameCapMs = 60'000;

// A program playing one side of a whole game, its output gathered as it comes. It may leave only
// with code 0 and once it has printed `lastWords`; leaving any other way is leaving early.
class Program {
  public:
    Program(std::string name, QString lastWords)
        : name_(std::move(name)), lastWords_(std::move(lastWords)) {}
    ~Program() {
        if (!running()) return;
        process_.kill();
        process_.waitForFinished();
    }

    void Start(const QString& path, const QStringList& args) { process_.start(path, args); }
    // Takes what arrived since the last call; how much did.
    qsizetype Gather() {
        const qsizetype before = out_.size() + err_.size();
        out_ += QString::fromUtf8(process_.readAllStandardOutput());
        err_ += QString::fromUtf8(process_.readAllStandardError());
        return out_.size() + err_.size() - before;
    }

    QProcess& process() { return process_; }
    const std::string& name() const { return name_; }
    const QString& out() const { return out_; }
    const QString& err() const { return err_; }
    bool running() const { return process_.state() != QProcess::NotRunning; }
    int exitCode() const {
        return process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1;
    }
    bool leftEarly() const { return !running() && (exitCode() != 0 || !out_.contains(lastWords_)); }

    // Where the program stands and the ends of what it printed and of its standard error.
    std::string Story() const {
        QString where = "running";
        if (process_.error() == QProcess::FailedToStart)
            where = "never started: " + process_.errorString();
        else if (!running())
            where = exitCode() < 0 ? "crashed" : QString("left with code %1").arg(exitCode());
        return name_ + ": " +
               (where + "; printed:\n" + out_.right(500) + "\nstandard error:\n" + err_.right(1500))
                   .toStdString();
    }

  private:
    std::string name_;
    QString lastWords_;
    QProcess process_;
    QString out_, err_;
};

// The port a serving kelvane-bot says it waits on, once the whole line has come; 0 before.
inline quint16 ListeningPort(const Program& bot) {
    static const QRegularExpression listening("waiting for an opponent on port (\\d+)\n");
    return listening.match(bot.err()).captured(1).toUShort();
}

// Waits until `done` holds, calling `step` each time round: it drives whatever the test plays
// itself and waits briefly for the programs' output. New output, or a change in `seen` (what the
// test can see of the game beyond the programs' output), is progress. Returns why the game was
// called off, with every side's story: a program that left early, every program gone before the
// game was over, nothing moving for kStalledAfterMs, or the cap. Empty once `done` holds.
inline std::string Watch(const std::vector<Program*>& programs, const std::function<bool()>& done,
                         const std::function<void()>& step,
                         const std::function<std::string()>& seen = {}) {
    std::string lastSeen = seen ? seen() : "";
    const auto calledOff = [&](const std::string& why) {
        std::string story = why;
        if (seen) story += "\n" + lastSeen;
        for (const Program* p : programs) story.append("\n").append(p->Story());
        return story;
    };
    QElapsedTimer sinceProgress;
    sinceProgress.start();
    const QDeadlineTimer cap(kGameCapMs);
    for (;;) {
        bool moved = false;
        for (Program* p : programs) moved = p->Gather() > 0 || moved;
        for (const Program* p : programs)
            if (p->leftEarly()) return calledOff(p->name() + " left before the game was over");
        if (done()) return "";
        if (std::ranges::none_of(programs, &Program::running))
            return calledOff("every program has left, but the game is not over");
        if (seen) {
            std::string now = seen();
            if (now != lastSeen) lastSeen = std::move(now), moved = true;
        }
        if (moved)
            sinceProgress.restart();
        else if (sinceProgress.hasExpired(kStalledAfterMs))
            return calledOff("nothing moved for " + std::to_string(kStalledAfterMs / 1000) + " s");
        if (cap.hasExpired())
            return calledOff("the game was still going after " + std::to_string(kGameCapMs / 1000) +
                             " s");
        step();
    }
}

}  // namespace kelvane::test
