// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QGroupBox>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>
#include <algorithm>
#include <tuple>
#include <utility>

#include "engine/transcript.h"
#include "game/scoring.h"
#include "game/stock.h"
#include "ui/announcer.h"
#include "ui/card_image.h"
#include "ui/card_layout.h"
#include "ui/codepage.h"
#include "ui/form1.h"
#include "ui/geometry.h"

namespace kelvane {

namespace {

// A card's place in its row, at the size of the row's first slot: slots made after the window took
// its layout are not in the resizer's recording, and the first slot is.
void PlaceInRow(CardImage* slot, const CardImage& first, int x, int y) {
    slot->setGeometry(QRect(QPoint(x, y), first.size()));
}

void Clear(CardImage* slot) {
    slot->clearPicture();
    slot->setToolTip(QString());
}

// Shows a card in a slot, fetching its picture only when the slot shows another card.
void Show(CardImage* slot, Int16 picture, bool tooltip) {
    if (slot->tag() != picture.value()) {
        slot->setPicture(picture.value());
        if (tooltip) slot->setToolTip(QString::fromStdString(GetCardName(picture, true)));
    }
}

}  // namespace

void Form1::RefreshHands(char which) {
    Procedure("RefreshHands", [&](Steps& steps) {
        const GameState& s = table_->state();
        const bool local = which != 'R';
        const bool remote = which != 'L';
        if ((local && s.LocalCount > 1) || (remote && s.RemoteCount > 1)) MakeCardSlots();
        // A frame is drawn once after its cards change, without being hidden meanwhile: nothing is
        // painted before this handler returns. Hiding it would tell a screen reader that every
        // card in it went away and came back, dozens of times a turn, and a reader so flooded
        // drops the game's news.
        for (int i = 0; i < static_cast<int>(imgLocal_.size()); ++i) {
            if (local) steps([&] { ShowLocalSlot(i); });
            if (remote) steps([&] { ShowRemoteSlot(i); });
        }
        steps([&] {
            if (remote) {
                frRemoteHand_->setTitle(
                    QStringLiteral("Your Opponent's Hand (%1)").arg(s.RemoteCount.value()));
                frRemoteHand_->setAccessibleName(
                    QString::fromStdString(OpponentHandName(s.RemoteCount)));
            }
        });
        steps([&] { WriteStatusLine(); });
        steps([&] { ShowLastMoveMarks(); });
        steps([&] { FollowKeys(); });
    });
}

// The player's card at hand position `i`, fanned; hidden past the hand's count.
void Form1::ShowLocalSlot(int i) {
    const GameState& s = table_->state();
    CardImage* slot = imgLocal_[static_cast<std::size_t>(i)];
    if (i + 1 > s.LocalCount.value()) {
        slot->hide();
        Clear(slot);
        return;
    }
    const Int16 card = s.LocalHand[i];
    Show(slot, card, true);
    PlaceInRow(slot, *imgLocal_[0],
               Px(layout::LocalFanLeft(Tw(frLocalHand_->width()), Tw(imgLocal_[0]->width()),
                                       s.LocalCount.value(), i)),
               Px(layout::LocalTop(Tw(frLocalHand_->height()), GetCardName(card, false).back())));
    slot->setSelected(false);
    slot->show();
}

// The opponent's card at position `i`, face down unless the hidden mode turns a known one up.
void Form1::ShowRemoteSlot(int i) {
    const GameState& s = table_->state();
    CardImage* slot = imgRemote_[static_cast<std::size_t>(i)];
    const int n = s.RemoteCount.value();
    if (i + 1 > n) {
        slot->hide();
        slot->clearPicture();
        return;
    }
    const Int16 card = s.RemoteHand[i];
    // Only the cards the opponent took from the up pile can be known, and only the hidden mode
    // turns them up.
    const bool faceUp = s.RevealOpponent && CardIsKnown(s, card);
    Show(slot, faceUp ? card : Int16(kBackPicture), false);
    PlaceInRow(slot, *imgRemote_[0],
               Px(layout::RemoteLeft(Tw(frRemoteHand_->width()), Tw(imgRemote_[0]->width()), n, i)),
               Px(layout::RemoteTop(Tw(frRemoteHand_->height()))));
    slot->show();
}

void Form1::WriteStatusLine() {
    const GameState& s = table_->state();
    ShowHostingLine();
    // The player's turn begins: a window in the background asks to be looked at.
    if (s.MyTurn && !std::exchange(wasMyTurn_, true)) AskForAttention();
    wasMyTurn_ = s.MyTurn;
    statusRed_ = s.MyTurn;
    QFont font = lblStatus_->font();
    font.setPointSize(s.MyTurn ? 2 * statusFontSize_ : statusFontSize_);
    lblStatus_->setFont(font);
    // A session closed on the opponent's fault leaves its game in view, but nobody plays on.
    if (s.Role == kRoleNotConnected) {
        SetStatusColour(QColor(0, 0, 0));
        SetStatusText(QString::fromStdString(kRoleNotConnected));
        return;
    }
    if (table_->WaitingForOpponent()) {
        SetStatusColour(QColor(0, 0, 0));
        lblStatus_->setText(QString::fromStdString(ConnectionLostStatus(s.Role == kRoleClient)));
        return;
    }
    SetStatusColour(s.MyTurn ? QColor(255, 0, 0) : QColor(0, 0, 255));
    const QString turn = QString::fromStdString(TurnStatus(s.MyTurn, s.HasDrawn));
    SetStatusText(turn);
    // A reader does not follow the status line by itself: each new turn and step is told.
    if (turn != std::exchange(turnSpoken_, turn))
        announcer_->AnnounceTurn(QString::fromStdString(StatusName(turn.toStdString())));
}

void Form1::SetStatusColour(const QColor& colour) {
    QPalette palette = lblStatus_->palette();
    palette.setColor(QPalette::WindowText, colour);
    lblStatus_->setPalette(palette);
}

void Form1::RefreshUpPile() {
    Procedure("RefreshUpPile", [&](Steps& steps) {
        const GameState& s = table_->state();
        if (s.UpCount > 1) MakeCardSlots();
        // The cards stand below the frame's caption, which the game's fixed top would cover,
        // and no lower than the frame's bottom edge: a card shrinks, keeping its shape, rather
        // than be cut (a short window with the move history open). They keep the places the
        // card's full width gives them.
        const int top = std::max(Px(layout::kUpPileTop), frUpPile_->contentsRect().top());
        QSize card = upPileCard_;
        const int room = frUpPile_->height() - top - 1;
        if (card.height() > room && room > 0)
            card = QSize(card.width() * room / card.height(), room);
        // Drawn once, not hidden meanwhile (RefreshHands says why).
        for (int i = 0; i < static_cast<int>(imgUpPile_.size()); ++i) {
            steps([&] {
                CardImage* slot = imgUpPile_[static_cast<std::size_t>(i)];
                if (i + 1 > s.UpCount.value()) {
                    slot->hide();
                    slot->setToolTip(QString());
                    return;
                }
                slot->setPicture(s.UpPile[i].value());
                slot->setToolTip(QString::fromStdString(GetCardName(s.UpPile[i], true)));
                slot->setGeometry(QRect(QPoint(Px(layout::UpPileLeft(Tw(frUpPile_->width()),
                                                                     Tw(upPileCard_.width()), i)),
                                               top),
                                        card));
                slot->show();
            });
        }
        steps([&] { ShowLastMoveMarks(); });
        steps([&] { FollowKeys(); });
    });
}

void Form1::MarkUpPileSlot(Int16 index, bool marked) {
    if (index < 0 || index >= static_cast<int>(imgUpPile_.size())) return;
    CardImage* slot = imgUpPile_[static_cast<std::size_t>(index.value())];
    slot->setSelected(marked);
    slot->repaint();
}

void Form1::ShowStack(Int16 picture) {
    // Only the player's own draw shows a card's face on the stack; a reader hears which. Told
    // once the draw's hold is over: a reader that asks a window holding still gives up on it.
    if (IsCard(picture)) announcer_->Announce(QString::fromStdString(DrawnCardText(picture)));
    imgStack_->setPicture(picture.value());
    imgStack_->repaint();
}

void Form1::ShowCardsLeft() {
    const Int16 left = table_->state().StackCount;
    // Empty until the first deal of a session, as at start-up: a new session shows no last
    // session's empty stock.
    lblCardsleft_->setText(imgStack_->tag() == 0 ? QString()
                                                 : QStringLiteral("Deck (%1)").arg(left.value()));
    imgStack_->setAccessibleName(QString::fromStdString(StackName(left)));
}

void Form1::PlaceMeldSlot(int slot) {
    imgMeld_[static_cast<std::size_t>(slot)]->setGeometry(
        Px(layout::MeldLeft(Tw(frTable_->width()), Tw(imgMeld_[0]->width()),
                            slot / kSlotsPerColumn)),
        Px(layout::MeldTop(Tw(frTable_->height()), slot % kSlotsPerColumn)), imgMeld_[0]->width(),
        imgMeld_[0]->height());
}

void Form1::CreateMeldColumn(Int16 column) {
    Procedure("CreateMeldColumn", [&](Steps& steps) {
        const int first = column.value() * kSlotsPerColumn;
        for (int j = first; j < first + kSlotsPerColumn; ++j) {
            steps([&] {
                if (j > 0) {
                    auto* slot = NewCardImage(frTable_, imgMeld_[0], j);
                    connect(slot, &CardImage::clicked, this, [this](int index) {
                        PlayerGesture([&] { table_->imgMeld_Click(index); });
                    });
                    imgMeld_.push_back(slot);
                }
                CardImage* slot = imgMeld_[static_cast<std::size_t>(j)];
                PlaceMeldSlot(j);
                Clear(slot);
                slot->raise();
                slot->show();
            });
        }
    });
}

void Form1::ShowMeldColumn(Int16 column) {
    const MeldColumn& cards = table_->state().TableMelds.Column(column);
    for (int k = 0; k < kSlotsPerColumn; ++k) {
        CardImage* slot = imgMeld(column.value() * kSlotsPerColumn + k);
        if (!slot) continue;
        if (cards[k] > 0) {
            Show(slot, cards[k], true);
        } else {
            Clear(slot);
        }
        slot->setLastMove(IsLastMove(cards[k].value()));
    }
    FollowKeys();
}

bool Form1::IsLastMove(int card) const {
    return card > 0 && std::find(lastMove_.begin(), lastMove_.end(), card) != lastMove_.end();
}

void Form1::OpponentMoved(const OpponentMove& move) {
    for (Int16 card : move.cards) lastMove_.push_back(card.value());
    AddHistory(OpponentMoveText(move));
    announcer_->Announce(QString::fromStdString(OpponentMoveText(move)));
    ShowLastMoveMarks();
}

// Marks follow the cards: a card the opponent took and then laid down is marked in its meld.
void Form1::ShowLastMoveMarks() {
    const GameState& s = table_->state();
    for (int i = 0; i < static_cast<int>(imgRemote_.size()); ++i) {
        const auto at = static_cast<std::size_t>(i);
        imgRemote_[at]->setLastMove(i < s.RemoteCount.value() &&
                                    IsLastMove(s.RemoteHand[i].value()));
        imgUpPile_[at]->setLastMove(i < s.UpCount.value() && IsLastMove(s.UpPile[i].value()));
    }
    for (int i = 0; i < static_cast<int>(imgLocal_.size()); ++i) {
        const int card = i < s.LocalCount.value() ? s.LocalHand[i].value() : 0;
        imgLocal_[static_cast<std::size_t>(i)]->setLastMove(
            card > 0 && std::find(ownMove_.begin(), ownMove_.end(), card) != ownMove_.end());
    }
    for (CardImage* slot : imgMeld_) slot->setLastMove(IsLastMove(slot->tag()));
}

void Form1::PlayerGesture(const std::function<void()>& handler) {
    const GameState& s = table_->state();
    const auto moment = [&s] {
        return std::tuple(s.MyTurn, s.HasDrawn, s.LocalCount.value(), s.TableMelds.CardsOnTable());
    };
    const auto before = moment();
    const bool hadDrawn = s.HasDrawn;
    const std::vector<Int16> hand(s.LocalHand.begin(), s.LocalHand.begin() + s.LocalCount.value());
    handler();
    // A draw, a meld, a lay-off or a discard: each changes one of these.
    if (moment() == before) return;
    ownMove_.clear();
    // The player's own draw is marked as the opponent's is, in his hand, until his next move: the
    // face the stack showed for a second is soon gone, and a long fan hides where a card went.
    if (!hadDrawn && s.HasDrawn && s.RoundInPlay)
        for (int i = 0; i < s.LocalCount.value(); ++i)
            if (std::find(hand.begin(), hand.end(), s.LocalHand[i]) == hand.end())
                ownMove_.push_back(s.LocalHand[i].value());
    lastMove_.clear();
    ShowLastMoveMarks();
}

void Form1::AskForAttention() {
    if (!isActiveWindow()) QApplication::alert(this);
}

void Form1::AddHistory(const std::string& line) {
    MakeHistory();
    historyText_->appendPlainText(QString::fromStdString(line));
}

QStringList Form1::historyLines() const {
    if (!historyText_) return {};
    const QString text = historyText_->toPlainText();
    return text.isEmpty() ? QStringList() : text.split('\n');
}

void Form1::RepositionMelds() {
    Procedure("RepositionMelds", [&](Steps& steps) {
        for (int j = 0; j < meldSlotCount(); ++j)
            steps([&] {
                // Asked of the slot itself: during a resize the table's frame is hidden, and
                // every slot in it would count as invisible.
                if (!imgMeld_[static_cast<std::size_t>(j)]->isHidden()) PlaceMeldSlot(j);
            });
    });
}

void Form1::ClearTable() {
    // A new deal: the last round's moves are over, and only the history keeps them.
    lastMove_.clear();
    ownMove_.clear();
    // The first turn of the deal is told even when it reads as the last one of the round before.
    turnSpoken_.clear();
    // Before a game's first deal nothing has been played; what a reader finds is of this game.
    if (table_->state().GamesPlayed == 0) announcer_->Clear();
    if (historyText_ && !historyText_->document()->isEmpty()) AddHistory(NewRoundText());
    Clear(imgMeld_[0]);
    imgMeld_[0]->hide();
    for (std::size_t j = 1; j < imgMeld_.size(); ++j) delete imgMeld_[j];
    imgMeld_.resize(1);
    for (CardImage* slot : imgRemote_) slot->clearPicture();
    for (CardImage* slot : imgLocal_) Clear(slot);
    for (CardImage* slot : imgUpPile_) Clear(slot);
    FollowKeys();
}

void Form1::RefreshScoreBoard() {
    const ScoreBoardTexts t = ScoreBoardText(table_->state());
    lblScores_->setText(QString::fromStdString(t.scores));
    lblBesideScores_->setText(QString::fromStdString(t.besideScores));
    PlaceBesideScores();
    lblTotGamesPlayed_->setText(QString::fromStdString(t.gamesPlayed));
    lblLocalScore_->setText(QString::fromStdString(t.localScore));
    lblRemoteScore_->setText(QString::fromStdString(t.remoteScore));
    lblFloat_->setText(QString::fromStdString(t.floating));
}

// Right after the scores line's text, up to the scoreboard's frame; the line's own place stays as
// the layout gives it.
void Form1::PlaceBesideScores() {
    const int left =
        lblScores_->x() + lblScores_->fontMetrics().horizontalAdvance(lblScores_->text() + ' ');
    lblBesideScores_->setGeometry(left, lblScores_->y(), std::max(0, frmScores_->x() - left),
                                  lblScores_->height());
    lblBesideScores_->setVisible(!lblBesideScores_->text().isEmpty());
}

void Form1::ShowSelection(Int16 handIndex, bool selected) {
    imgLocal_[static_cast<std::size_t>(handIndex.value())]->setSelected(selected);
}

bool Form1::eventFilter(QObject* watched, QEvent* event) {
    if (watched == client_ && event->type() == QEvent::Resize) {
        Form_Resize();
        return false;
    }
    // A click on the table's own background, not on a meld slot, lays down a new meld.
    if (watched == frTable_ && event->type() == QEvent::MouseButtonRelease &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
        PlayerGesture([&] { table_->frTable_Click(); });
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

namespace {

// Appends transcript text [from, to) with its colour runs; CR LF becomes a new paragraph.
void AppendColoured(QTextCursor& cursor, const Transcript& t, std::size_t from,
                    std::size_t runIndex) {
    const std::string& text = t.text();
    const auto& runs = t.runs();
    std::size_t at = from;
    auto insert = [&](std::size_t end, const QTextCharFormat& format) {
        QString piece = FromCodePage(text.substr(at, end - at));
        piece.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
        cursor.insertText(piece, format);
        at = end;
    };
    QTextCharFormat plain;
    plain.setForeground(Qt::black);
    plain.setFontWeight(QFont::Normal);
    for (std::size_t r = runIndex; r < runs.size(); ++r) {
        const ColourRun& run = runs[r];
        if (run.start > at) insert(run.start, plain);
        QTextCharFormat format;
        format.setForeground(QColor(run.colour.red, run.colour.green, run.colour.blue));
        format.setFontWeight(run.bold ? QFont::Bold : QFont::Normal);
        insert(run.start + run.length, format);
    }
    if (at < text.size()) insert(text.size(), plain);
}

}  // namespace

void Form1::ChatLineAdded(const Transcript& t, Speaker speaker) {
    if (speaker == Speaker::kOpponent) {
        AskForAttention();
        announcer_->Announce(FromCodePage(t.text().substr(t.lastLineStart())));
    }
    // The transcript dropped its oldest lines to make room: the view follows it whole.
    const bool dropped = t.lastLineStart() < convoBytes_;
    convoBytes_ = t.text().size();
    if (dropped) return ColorizeRTB();
    // Only the new line is written and coloured, so a long conversation costs no more per line.
    rtbConvo_->setUpdatesEnabled(false);
    QTextCursor cursor(rtbConvo_->document());
    cursor.movePosition(QTextCursor::End);
    if (t.lastLineStart() > 0) cursor.insertBlock();
    AppendColoured(cursor, t, t.lastLineStart(), t.lastLineFirstRun());
    rtbConvo_->setUpdatesEnabled(true);
    rtbConvo_->verticalScrollBar()->setValue(rtbConvo_->verticalScrollBar()->maximum());
}

void Form1::ColorizeRTB() {
    Procedure("ColorizeRTB", [&](Steps& steps) {
        steps([&] {
            const Transcript& t = table_->transcript();
            rtbConvo_->setUpdatesEnabled(false);
            rtbConvo_->clear();
            QTextCursor cursor(rtbConvo_->document());
            AppendColoured(cursor, t, 0, 0);
            rtbConvo_->setUpdatesEnabled(true);
            rtbConvo_->verticalScrollBar()->setValue(rtbConvo_->verticalScrollBar()->maximum());
        });
    });
}

void Form1::ClearChatInput() {
    txtSay_->clear();
}

}  // namespace kelvane
