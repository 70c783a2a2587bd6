// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/announcer.h"

#include <QGroupBox>
#include <QTimer>
#include <utility>

namespace kelvane {

namespace {
// A reader still busy with the events of a whole refresh may reach a notice after the next ones
// have appeared (an opponent's turn is often three in a row); the last few stay for it.
constexpr int kNoticesKept = 8;
}  // namespace

SpokenNews::SpokenNews(const QString& text, QWidget* parent) : QWidget(parent) {
    setObjectName("SpokenNews");
    setAccessibleName(text);
    setGeometry(0, 0, 1, 1);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

Announcer::Announcer(QWidget* parent) : QWidget(parent) {
    setObjectName("Announcer");
    setGeometry(0, 0, 1, 1);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    lower();
}

void Announcer::Announce(const QString& text) {
    if (text.isEmpty()) return;
    pending_ << text;
    AskFlush();
}

void Announcer::AnnounceTurn(const QString& text) {
    turn_ = text;
    AskFlush();
}

void Announcer::AskFlush() {
    if (!std::exchange(flushAsked_, true)) QTimer::singleShot(0, this, &Announcer::Flush);
}

void Announcer::Flush() {
    flushAsked_ = false;
    if (!turn_.isEmpty()) pending_ << std::exchange(turn_, QString());
    if (pending_.isEmpty()) return;
    const QList<SpokenNews*> old = findChildren<SpokenNews*>(Qt::FindDirectChildrenOnly);
    for (qsizetype i = 0; i + kNoticesKept - 1 < old.size(); ++i) delete old[i];
    // Each line a sentence, so a reader pauses between them.
    QString news;
    for (const QString& line : std::as_const(pending_)) {
        if (!news.isEmpty()) news += ' ';
        news += line;
        if (!line.back().isPunct()) news += '.';
    }
    pending_.clear();
    // Its appearing is what the reader speaks.
    (new SpokenNews(news, this))->show();
}

void Announcer::Clear() {
    qDeleteAll(findChildren<SpokenNews*>(Qt::FindDirectChildrenOnly));
}

QStringList Announcer::notices() const {
    QStringList lines;
    for (const SpokenNews* notice : findChildren<SpokenNews*>(Qt::FindDirectChildrenOnly))
        lines << notice->accessibleName();
    return lines;
}

void NameTheFrames(QWidget* window) {
    const struct {
        const char* frame;
        const char* name;
    } names[] = {
        {"frTable", "the table"},
        {"frLocalHand", "your hand"},
        {"frRemoteHand", "your opponent's hand"},
        {"frUpPile", "the up pile"},
        {"frmScores", "the scores"},
    };
    for (const auto& n : names)
        if (auto* frame = window->findChild<QGroupBox*>(n.frame))
            frame->setAccessibleName(QString::fromLatin1(n.name));
}

}  // namespace kelvane
