// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/form1.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDeadlineTimer>
#include <QGridLayout>
#include <QGroupBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QSpacerItem>
#include <QTextEdit>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "portmap/address.h"
#include "ui/announcer.h"
#include "ui/card_image.h"
#include "ui/clipboard.h"
#include "ui/codepage.h"
#include "ui/computer_opponent.h"
#include "ui/deck.h"
#include "ui/geometry.h"
#include "ui/resizer.h"
#include "ui/results_dialog.h"
#include "ui/screen_reader.h"
#include "ui/table_keys.h"
#include "ui/welcome_panel.h"
#include "ui/window_socket.h"

namespace kelvane {

namespace {
const QString kAppTitle = QStringLiteral("Kelvane");
// The computer opponent runs on this machine.
const std::string kLoopbackHost = "127.0.0.1";
// Room in a box's title bar beside the title: its icon and buttons, with the desktop's margins.
const int kTitleBarButtons = Px(2400);
}  // namespace

Form1::Form1(WindowSocket& socket, Deck& deck, std::function<RandomSource()> shuffles,
             QWidget* parent)
    : QMainWindow(parent), socket_(socket), deck_(deck), resizer_(new FormResizer) {
    setObjectName("Form1");
    InstallScreenReaderFactory();
    table_ =
        std::make_unique<Table>(Table::Ports{*this, *this, socket_, *this}, std::move(shuffles));
    BuildControls();
    BuildMenus();
    BuildHistory();
    BuildAccess();
    // The layout follows the client area, which changes with the window and when the move
    // history's panel opens or closes beside it.
    client_->installEventFilter(this);
    // The design size is the client area's; the menu bar, complete now, comes on top of it.
    const int menu = menuBar()->sizeHint().height();
    resize(Px(11490), Px(8715) + menu);
    // Below half the design size the cards and texts would be too small to play with.
    setMinimumSize(Px(11490 / 2.0), Px(8715 / 2.0) + menu);
    WireSocket();
    Form_Load();
}

Form1::~Form1() = default;

void Form1::Procedure(const char* name, const std::function<void(Steps&)>& body) {
    Steps steps(reporter_, name);
    body(steps);
}

void Form1::Form_Load() {
    Procedure("Form_Load", [&](Steps& steps) {
        steps([&] {
            setWindowTitle(QStringLiteral("Kelvane (Version %1.%2.%3)")
                               .arg(KELVANE_VERSION_MAJOR)
                               .arg(KELVANE_VERSION_MINOR)
                               .arg(KELVANE_VERSION_PATCH));
        });
        steps([&] { imgMeld_[0]->hide(); });
        steps([&] { TakeStatusFontSize(); });
    });
}

CardImage* Form1::NewCardImage(QWidget* parent, const CardImage* model, int index) {
    auto* image = new CardImage(deck_, index, parent);
    if (model) image->setGeometry(model->geometry());
    image->hide();
    return image;
}

// The hands and the up pile have a slot for every card of the deck, but the empty table of the
// first frame shows none of them: they are made once that frame is drawn, or as soon as a hand
// or the up pile holds a second card, whichever comes first. Each takes the size of its row's
// first slot whenever its row is drawn, so they need not be in the layout the window records.
void Form1::MakeCardSlots() {
    if (imgLocal_.size() > 1) return;
    CreateHandImages();
    CreateUpPile();
}

// A new slot lies above every slot created before it, so each card covers part of the one
// before it and the last card is seen whole.
void Form1::CreateHandImages() {
    Procedure("CreateHandImages", [&](Steps& steps) {
        for (int i = 1; i < kCardsInDeck; ++i) {
            steps([&] {
                imgRemote_.push_back(NewCardImage(frRemoteHand_, imgRemote_[0], i));
                imgRemote_.back()->raise();
                imgLocal_.push_back(NewCardImage(frLocalHand_, imgLocal_[0], i));
                imgLocal_.back()->raise();
                connect(imgLocal_.back(), &CardImage::pressed, this, [this](int index, int button) {
                    PlayerGesture([&] { table_->imgLocal_MouseDown(index, button); });
                });
            });
        }
    });
}

void Form1::CreateUpPile() {
    Procedure("CreateUpPile", [&](Steps& steps) {
        for (int i = 1; i < kCardsInDeck; ++i) {
            steps([&] {
                imgUpPile_.push_back(NewCardImage(frUpPile_, imgUpPile_[0], i));
                imgUpPile_.back()->raise();
                connect(imgUpPile_.back(), &CardImage::clicked, this, [this](int index) {
                    PlayerGesture([&] { table_->imgUpPile_Click(index); });
                });
            });
        }
    });
}

void Form1::TakeStatusFontSize() {
    const double size = lblStatus_->font().pointSizeF();
    statusFontSize_ = static_cast<int>(std::nearbyint(statusRed_ ? size / 2 : size));
}

void Form1::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    // The resize that comes with the first showing arrives before the window counts as visible,
    // so the layout would be recorded only at the next change of size, against a window that has
    // already left its design size. The first showing is the window's first visible size.
    if (std::exchange(shown_, true)) return;
    Form_Resize();
    // Recorded at the design size; only now may the window give way to a smaller screen.
    if (const QScreen* where = screen()) FitInto(where->availableGeometry());
}

void Form1::FitInto(const QRect& available) {
    const QSize frame = frameGeometry().size() - size();
    const QSize room = available.size() - frame;
    setMinimumSize(minimumSize().boundedTo(room));
    resize(size().boundedTo(room));
    const QRect outer = frameGeometry();
    if (!available.contains(outer))
        move(std::clamp(outer.x(), available.left(), available.right() - outer.width() + 1),
             std::clamp(outer.y(), available.top(), available.bottom() - outer.height() + 1));
}

void Form1::Form_Resize() {
    Procedure("Form_Resize", [&](Steps& steps) {
        QGroupBox* frames[] = {frLocalHand_, frRemoteHand_, frTable_, frUpPile_};
        steps([&] {
            for (QGroupBox* f : frames) f->hide();
        });
        steps([&] {
            resizer_->ResizeForm(client_, true);
            upPileCard_ = imgUpPile_[0]->size();
        });
        steps([&] { RepositionMelds(); });
        steps([&] { PlaceBesideScores(); });
        steps([&] { PlaceWelcome(); });
        steps([&] {
            for (QGroupBox* f : frames) f->show();
        });
        steps([&] { table_->RefreshHands('B'); });
        steps([&] { RefreshUpPile(); });
        steps([&] {
            if (table_->state().Role == kRoleNotConnected) {
                statusRed_ = false;
                SetStatusColour(Qt::black);
                SetStatusText(NotConnectedText());
            }
        });
        steps([&] { ColorizeRTB(); });
        steps([&] { TakeStatusFontSize(); });
    });
}

bool Form1::event(QEvent* e) {
    // What the first frame does not show is made right after it.
    if (e->type() == QEvent::Paint && (imgLocal_.size() == 1 || !history_))
        QTimer::singleShot(0, this, [this] {
            MakeCardSlots();
            MakeHistory();
        });
    if (e->type() == QEvent::WindowActivate && !closing_) {
        Procedure("Form_Activate", [&](Steps& steps) {
            steps([&] {
                if (!isMaximized()) showMaximized();
            });
        });
    }
    return QMainWindow::event(e);
}

void Form1::closeEvent(QCloseEvent* event) {
    bool cancel = false;
    Procedure("Form_Unload", [&](Steps& steps) {
        steps([&] {
            if (table_->ended() || endWithoutQuestion_) return;
            const int index = table_->state().Role == kRoleServer ? 1 : 0;
            if (socket_.State(index) != kSocketConnected) return;
            cancel = !ShowBox(QuitBox());
        });
    });
    if (cancel) {
        event->ignore();
        return;
    }
    closing_ = true;
    // A Kelvane opponent hears that this is a quit, not a dropped line.
    table_->Quit();
    if (dialog_) dialog_->close();
    if (linkDialog_) linkDialog_->hide();
    if (help_) help_->close();
    // The computer opponent goes with the window, and the router's port is given back.
    computer_.reset();
    StopHosting();
    event->accept();
}

void Form1::EndAsQuit() {
    endWithoutQuestion_ = true;
    close();
    // Also out of a box that is waiting for an answer: every event loop ends.
    QApplication::quit();
}

void Form1::CloseWindow() {
    // The engine asks from inside a handler; the window goes once that handler has returned.
    QMetaObject::invokeMethod(this, &QWidget::close, Qt::QueuedConnection);
}

// While the server waits, its status line keeps the waiting text through every relayout (opening
// the move history is one): the address is what the player reads out to his friend.
QString Form1::NotConnectedText() const {
    if (!listening_.isEmpty() && socket_.State(0) == kSocketListening) return listening_;
    return QString::fromStdString(kRoleNotConnected);
}

void Form1::ShowListening(const std::string& localAddress) {
    listening_ = QString::fromStdString(ListeningText(localAddress));
    SetStatusText(listening_);
    StartHosting();
    // A friend on this network needs only this machine's address: "Copy Address" gives it when
    // neither the router nor IPv6 offers one that reaches further.
    homeAddress_ = FormatServerAddress(localAddress, socket_.LocalPort(0));
    if (friendAddress_.empty()) {
        friendAddress_ = homeAddress_;
        mnuCopyAddress_->setEnabled(true);
    }
    ShowHostingLine();
}

void Form1::ShowHostingLine() {
    const bool serving = table_->state().Role == kRoleNotConnected &&
                         socket_.State(0) == kSocketListening && !listening_.isEmpty();
    QString line;
    if (serving && !hostTips_.empty()) line = QString::fromStdString(hostTips_.back());
    if (serving && !friendAddress_.empty())
        line +=
            (line.isEmpty() ? "" : " ") +
            QStringLiteral("Copy Address gives %1.").arg(QString::fromStdString(friendAddress_));
    lblHosting_->setText(line);
}

// The server waits on, as it did before the caller came; the router's door stays as it is.
void Form1::NoteCallerLeft(const std::string& address) {
    AddHistory(CallerLeftText(address));
    SetStatusText(listening_);
    ShowHostingLine();
}

void Form1::EnableSessionMenus(bool enabled) {
    // The welcome stands on the empty table only; the keys take over the table when it goes.
    // They take it before the welcome's buttons are disabled and hidden: a button that is, with
    // the focus, passes it on as a Tab would, and the keys' frame would show to a player who
    // only ever clicked.
    const bool welcomeHadFocus = welcome_->isAncestorOf(focusWidget());
    if (!enabled && (welcomeHadFocus || !focusWidget())) keys_->setFocus(Qt::OtherFocusReason);
    mnuServer_->setEnabled(enabled);
    mnuClient_->setEnabled(enabled);
    mnuComputer_->setEnabled(enabled);
    // No session: the router's port is given back.
    if (enabled) StopHosting();
    // A new session: the last opponent's program is no longer the one at the table.
    if (!enabled && !peerTip_.empty()) {
        peerTip_.clear();
        ShowStatusTip();
    }
    welcome_->setVisible(enabled);
}

void Form1::ShowWarnMeldChecked(bool checked) {
    mnuWarnMeld_->setChecked(checked);
}

void Form1::ShowConnectionLost(bool reconnecting) {
    WriteStatusLine();
    if (linkDialog_) return;
    linkDialog_ = new LinkDialog(*table_, reconnecting, this);
    linkDialog_->show();
}

void Form1::ShowConnectionBack() {
    ShowWaitOver();
}

// Whichever way the wait ends, its box goes: a box offering to call again a session that is
// over would only mislead.
void Form1::ShowWaitOver() {
    WriteStatusLine();
    if (!linkDialog_) return;
    linkDialog_->accept();
    linkDialog_->deleteLater();
}

void Form1::ShowPeerProgram(const std::string& program) {
    peerTip_ = PeerProgramText(program);
    ShowStatusTip();
    AddHistory(PeerProgramText(program));
}

// The figures are taken now, from the state the round ended in: the server deals the next round
// right after, and a new game starts from zero totals.
void Form1::ShowRoundResult(const RoundResult& result) {
    lastRound_ = result;
    const std::string summary = RoundSummaryText(table_->state(), result);
    AddHistory(summary);
    announcer_->Announce(QString::fromStdString(summary));
    ShowResult(RoundText(result), RoundFigures(table_->state(), result));
}

void Form1::ShowGameResult(GameOutcome outcome) {
    const std::string summary = GameSummaryText(outcome, table_->state());
    AddHistory(summary);
    announcer_->Announce(QString::fromStdString(summary));
    ShowResult(GameText(outcome), GameFigures(table_->state(), lastRound_));
}

void Form1::ShowResult(const std::string& text, const ResultFigures& figures) {
    if (!dialog_) dialog_ = new ResultsDialog(this);
    dialog_->ShowMessage(QString::fromStdString(text), figures);
}

void Form1::Tell(const Notice& notice) {
    ShowBox(NoticeBox(notice));
}

bool Form1::Ask(const Question& question) {
    return ShowBox(QuestionBox(question));
}

bool Form1::ShowBox(const BoxText& b) {
    QMessageBox box(this);
    const QString title = b.title.empty() ? kAppTitle : QString::fromStdString(b.title);
    box.setWindowTitle(title);
    // Some sentences carry what the opponent's program sent, or an address the player typed:
    // never read as markup.
    box.setTextFormat(Qt::PlainText);
    box.setText(FromCodePage(b.text));
    box.setIcon(b.icon == Icon::kExclamation ? QMessageBox::Warning
                : b.icon == Icon::kCritical  ? QMessageBox::Critical
                                             : QMessageBox::NoIcon);
    const bool question = b.buttons == Buttons::kYesNo;
    box.setStandardButtons(question ? QMessageBox::Yes | QMessageBox::No : QMessageBox::Ok);
    if (question)
        box.setDefaultButton(b.byDefault == Answer::kNo ? QMessageBox::No : QMessageBox::Yes);
    // A box is as wide as its text, and a short text under a long title had the title cut
    // ("Confir...iscard"): the box is made wide enough for the title and the title bar's buttons.
    // Last, since setting the icon lays the box out anew.
    if (auto* grid = qobject_cast<QGridLayout*>(box.layout())) {
        QFont bold = box.font();
        bold.setBold(true);
        const int wanted = QFontMetrics(bold).horizontalAdvance(title) + kTitleBarButtons;
        grid->addItem(new QSpacerItem(wanted, 0, QSizePolicy::Minimum, QSizePolicy::Minimum),
                      grid->rowCount(), 0, 1, grid->columnCount());
    }
    return box.exec() == QMessageBox::Yes && question;
}

std::string Form1::AskHost() {
    // The computer opponent's address is known: nobody is asked.
    if (!pendingHost_.empty()) return std::exchange(pendingHost_, std::string());
    HostPrompt p = HostPromptText();
    // A player whose call failed tries again with what he typed, perhaps mended, not from scratch.
    if (!lastTyped_.empty()) p.suggested = lastTyped_;
    bool ok = false;
    const QString answer = QInputDialog::getText(
        this, QString::fromStdString(p.title), QString::fromStdString(p.prompt), QLineEdit::Normal,
        QString::fromStdString(p.suggested), &ok);
    if (!ok) return {};
    const std::string typed = answer.trimmed().toStdString();
    if (!typed.empty()) lastTyped_ = typed;
    return TakeAddress(typed);
}

void Form1::PlayAgainstComputer(int level) {
    if (!NetworkReady()) return;
    EnableSessionMenus(false);
    computer_ = std::make_unique<ComputerOpponent>();
    connect(computer_.get(), &ComputerOpponent::listening, this, [this](int port) {
        pendingHost_ = kLoopbackHost;
        table_->UsePort(port);
        table_->WatchOpponent(true);
        table_->mnuClient_Click();
        // Should this session end, a later one uses the game's own port again.
        table_->UsePort(kGamePort);
    });
    connect(computer_.get(), &ComputerOpponent::failed, this, [this] {
        EnableSessionMenus(true);
        ShowBox(ComputerUnavailableBox());
    });
    // The computer player's program is gone for good: no call brings it back. Queued, since a
    // new game replaces the object that tells it.
    connect(
        computer_.get(), &ComputerOpponent::stopped, this,
        [this, level] {
            if (closing_ || table_->ended()) return;
            table_->OpponentStopped();
            if (ShowBox(ComputerStoppedBox())) PlayAgainstComputer(level);
        },
        Qt::QueuedConnection);
    computer_->Start(botProgram_.isEmpty() ? ComputerOpponent::FindProgram() : botProgram_,
                     QStringList{"--level", QString::number(level)} + botArguments_);
}

void Form1::Pause(int milliseconds) {
    // What must be seen was painted at once by the view; the game then holds still, handling
    // nothing, as a player watching the card expects. Only a screen reader's questions about what
    // the window shows are answered.
    const QDeadlineTimer until(milliseconds);
    while (!until.hasExpired()) {
        AnswerScreenReader();
        QThread::msleep(static_cast<unsigned long>(std::min<qint64>(10, until.remainingTime())));
    }
}

void Form1::SetClipboardText(const std::string& text) {
    QClipboard* clipboard = QApplication::clipboard();
    clipboard->clear();
    clipboard->setText(QString::fromStdString(text));
}

bool Form1::AskToContinue(const std::string& text) {
    return QMessageBox::critical(this, "Program Error", QString::fromStdString(text),
                                 QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}

void Form1::EndProgram() {
    // The report was put on the clipboard for the player to paste. On X11 the clipboard lives in
    // its owner, so it is handed to the desktop's clipboard keeper first, as an orderly exit would.
    HandOverClipboard();
    // The router's port is not left open behind us.
    GiveBackDoorNow();
    // No further handler may run, not even the quit question; the connection drops with us.
    std::_Exit(EXIT_FAILURE);
}

}  // namespace kelvane
