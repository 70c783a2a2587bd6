// SPDX-License-Identifier: GPL-3.0-or-later
#include <QAction>
#include <QDialog>
#include <QDockWidget>
#include <QGroupBox>
#include <QKeySequence>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyleOptionGroupBox>
#include <QStylePainter>
#include <QTextBrowser>
#include <QTextCursor>
#include <QTextEdit>
#include <QTimer>
#include <QVBoxLayout>

#include "engine/transcript.h"
#include "ui/card_image.h"
#include "ui/codepage.h"
#include "ui/fonts.h"
#include "ui/form1.h"
#include "ui/geometry.h"
#include "ui/window_socket.h"

namespace kelvane {

namespace {

// A frame of the table: its caption as the desktop's style draws it, its edge and ground as plain
// fills. The style would stretch a picture over the whole frame, and for frames the size of the
// table and the hands that was the dearest part of the window's first frame.
class PlainFrame : public QGroupBox {
  public:
    using QGroupBox::QGroupBox;

  protected:
    void paintEvent(QPaintEvent*) override {
        QStylePainter painter(this);
        QStyleOptionGroupBox option;
        initStyleOption(&option);
        option.subControls &= ~QStyle::SC_GroupBoxFrame;
        painter.drawComplexControl(QStyle::CC_GroupBox, option);
        // The edge's top where the style puts it, just above the frame's contents.
        const QRect contents = style()->subControlRect(QStyle::CC_GroupBox, &option,
                                                       QStyle::SC_GroupBoxContents, this);
        const QRect edge = rect().adjusted(1, contents.top(), -1, -1);
        const QColor ground = palette().color(QPalette::Window);
        painter.fillRect(edge, ground.darker(101));
        painter.setPen(ground.darker(111));
        painter.drawRect(edge);
    }
};

QGroupBox* Frame(QWidget* parent, const char* name, const char* caption, QRect at) {
    auto* frame = new PlainFrame(caption, parent);
    frame->setObjectName(name);
    frame->setGeometry(at);
    return frame;
}

// The status line keeps the font size the game gives it, but a text longer than its two lines
// (the server's waiting text with its address) is drawn smaller rather than cut off.
class StatusLabel : public QLabel {
  public:
    using QLabel::QLabel;

  protected:
    void paintEvent(QPaintEvent*) override {
        const QRect box = contentsRect();
        const int flags = Qt::TextWordWrap | Qt::AlignLeft | Qt::AlignVCenter;
        QFont face = font();
        while (face.pointSizeF() > kSmallest &&
               QFontMetrics(face).boundingRect(box, flags, text()).height() > box.height())
            face.setPointSizeF(face.pointSizeF() - 0.5);
        QPainter painter(this);
        painter.setFont(face);
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(box, flags, text());
    }

  private:
    static constexpr double kSmallest = 6;
};

template <typename L = QLabel>
QLabel* Label(QWidget* parent, const char* name, const char* text, QRect at, double points = 0,
              bool bold = false) {
    auto* label = new L(text, parent);
    // What a label shows is text, whoever wrote it: never read as markup.
    label->setTextFormat(Qt::PlainText);
    label->setObjectName(name);
    label->setGeometry(at);
    if (points > 0) label->setFont(DesignFont(points, bold));
    return label;
}

}  // namespace

void Form1::BuildControls() {
    client_ = new QWidget(this);
    client_->setObjectName("client");
    // The design's measures were made for a small 8.25-point face; at the desktop's larger default
    // the captions and scores would outgrow their places.
    client_->setFont(TableFont());
    setCentralWidget(client_);
    BuildCardRows();
    BuildLabels();
    BuildChat();
    // Frames that are drawn later sit below the card rows they overlap.
    frTable_->lower();
    WireGestures();
}

// The table, the hands, the up pile and the stack, each row with its first card slot.
void Form1::BuildCardRows() {
    frTable_ = Frame(client_, "frTable", "Table", Twips(120, 3000, 11295, 3375));
    imgMeld_.push_back(NewCardImage(frTable_, nullptr, 0));
    imgMeld_[0]->setGeometry(Twips(240, 360, 735, 1215));
    frLocalHand_ = Frame(client_, "frLocalHand", "Your Hand", Twips(120, 6360, 11295, 1215));
    imgLocal_.push_back(NewCardImage(frLocalHand_, nullptr, 0));
    imgLocal_[0]->setGeometry(Twips(120, 120, 1095, 1575));
    frRemoteHand_ =
        Frame(client_, "frRemoteHand", "Your Opponent's Hand", Twips(3120, 360, 5040, 1095));
    imgRemote_.push_back(NewCardImage(frRemoteHand_, nullptr, 0));
    imgRemote_[0]->setGeometry(Twips(120, 240, 615, 735));
    frUpPile_ = Frame(client_, "frUpPile", "UpPile", Twips(1200, 1560, 10215, 1335));
    imgUpPile_.push_back(NewCardImage(frUpPile_, nullptr, 0));
    imgUpPile_[0]->setGeometry(Twips(120, 120, 855, 1215));
    upPileCard_ = imgUpPile_[0]->size();
    imgStack_ = NewCardImage(client_, nullptr, 0);
    imgStack_->setObjectName("imgStack");
    imgStack_->setGeometry(Twips(240, 1660, 855, 1215));
    imgStack_->show();
}

void Form1::BuildLabels() {
    lblCardsleft_ = Label(client_, "lblCardsleft", "", Twips(120, 1320, 975, 255));
    lblStatus_ =
        Label<StatusLabel>(client_, "lblStatus", "", Twips(240, 120, 2655, 495), 9.75, true);
    lblStatus_->setWordWrap(true);
    // While serving, what the router answered and what to give a friend, below the waiting text
    // where the player looks, not only in the status line's tooltip.
    lblHosting_ = Label<StatusLabel>(client_, "lblHosting", "", Twips(240, 615, 2775, 690));
    const ScoreBoardTexts start = ScoreBoardText(GameState{});
    lblScores_ = Label(client_, "lblScores", start.scores.c_str(), Twips(3360, 0, 4575, 255));
    lblBesideScores_ =
        Label(client_, "lblBesideScores", start.besideScores.c_str(), Twips(7935, 0, 345, 255));
    frmScores_ = Frame(client_, "frmScores", "Scores", Twips(8280, 0, 3135, 1455));
    lblTotGamesPlayed_ = Label(frmScores_, "lblTotGamesPlayed", start.gamesPlayed.c_str(),
                               Twips(120, 240, 2895, 255), 9.75);
    lblLocalScore_ = Label(frmScores_, "lblLocalScore", start.localScore.c_str(),
                           Twips(120, 480, 2895, 255), 9.75);
    lblRemoteScore_ = Label(frmScores_, "lblRemoteScore", start.remoteScore.c_str(),
                            Twips(120, 720, 2895, 255), 9.75);
    lblFloat_ =
        Label(frmScores_, "lblFloat", start.floating.c_str(), Twips(120, 960, 2895, 255), 9.75);
}

void Form1::BuildChat() {
    label1_ = Label(client_, "Label1", "Chat with Opponent:", Twips(120, 7680, 2055, 255));
    txtSay_ = new QLineEdit(client_);
    txtSay_->setObjectName("txtSay");
    // A line the opponent's program accepts, even if every character needs escaping.
    txtSay_->setMaxLength(static_cast<int>(kChatLineLimit));
    txtSay_->setGeometry(Twips(120, 7920, 3255, 735));
    cmdSend_ = new QPushButton("Send", client_);
    cmdSend_->setObjectName("cmdSend");
    cmdSend_->setGeometry(Twips(3480, 8160, 615, 375));
    rtbConvo_ = new QTextEdit(client_);
    rtbConvo_->setObjectName("rtbConvo");
    rtbConvo_->setReadOnly(true);
    // The view, like the transcript, keeps a bounded number of lines, dropping the oldest.
    rtbConvo_->document()->setMaximumBlockCount(static_cast<int>(Transcript::kMostLines));
    rtbConvo_->setGeometry(Twips(4320, 7655, 7095, 1000));
}

// Every click on the table's cards and cloth, and the chat's sending, reach the engine's handlers.
void Form1::WireGestures() {
    connect(imgStack_, &CardImage::clicked, this,
            [this](int) { PlayerGesture([&] { table_->imgStack_Click(); }); });
    connect(imgUpPile_[0], &CardImage::clicked, this,
            [this](int index) { PlayerGesture([&] { table_->imgUpPile_Click(index); }); });
    connect(imgLocal_[0], &CardImage::pressed, this, [this](int index, int button) {
        PlayerGesture([&] { table_->imgLocal_MouseDown(index, button); });
    });
    connect(imgMeld_[0], &CardImage::clicked, this,
            [this](int index) { PlayerGesture([&] { table_->imgMeld_Click(index); }); });
    frTable_->installEventFilter(this);
    auto send = [this] { table_->cmdSend_Click(ToCodePage(txtSay_->text())); };
    connect(cmdSend_, &QPushButton::clicked, this, send);
    // Enter in the input box sends as the button does.
    connect(txtSay_, &QLineEdit::returnPressed, this, send);
}

void Form1::BuildMenus() {
    // Captions carry their mnemonics (Alt+F opens "File"); the underline is the only difference.
    auto add = [](QMenu* menu, const char* name, const char* caption) {
        QAction* a = menu->addAction(caption);
        a->setObjectName(name);
        return a;
    };
    QMenu* file = menuBar()->addMenu("&File");
    QMenu* connectMenu = file->addMenu("&Connect");
    mnuServer_ = add(connectMenu, "mnuServer", "Be The &Server");
    mnuClient_ = add(connectMenu, "mnuClient", "Connect to a s&erver");
    // The computer opponent plays at any of its levels; the submenu's own entry is the one the
    // session enables and disables with the other two.
    QMenu* computer = connectMenu->addMenu("Play Against the &Computer");
    mnuComputer_ = computer->menuAction();
    mnuComputer_->setObjectName("mnuComputer");
    QAction* level1 = add(computer, "mnuComputerLevel1", "Level &1: Quick and Greedy");
    QAction* level2 = add(computer, "mnuComputerLevel2", "Level &2: Plans Ahead");
    QAction* level3 = add(computer, "mnuComputerLevel3", "Level &3: Thinks It Over");
    mnuQuit_ = add(file, "mnuQuit", "&Quit");
    // The window's close, so the quit question comes as it does for the close box.
    mnuQuit_->setShortcut(QKeySequence::Quit);
    QMenu* options = menuBar()->addMenu("&Options");
    mnuWarnMeld_ = add(options, "mnuWarnMeld", "&Warn if Meldable");
    mnuWarnMeld_->setCheckable(true);
    BuildRouterMenus(connectMenu, options);
    QMenu* help = menuBar()->addMenu("&Help");
    mnuHowToPlay_ = add(help, "mnuHowToPlay", "&How to Play");
    mnuHowToPlay_->setShortcut(QKeySequence::HelpContents);
    mnuAbout_ = add(help, "mnuAbout", "&No Help For You!");

    connect(mnuServer_, &QAction::triggered, this, [this] {
        if (!NetworkReady()) return;
        ForgetTypedPort();
        table_->WatchOpponent(false);
        table_->mnuServer_Click();
    });
    connect(mnuClient_, &QAction::triggered, this, [this] {
        if (!NetworkReady()) return;
        table_->WatchOpponent(false);
        table_->mnuClient_Click();
    });
    connect(level1, &QAction::triggered, this, [this] { PlayAgainstComputer(1); });
    connect(level2, &QAction::triggered, this, [this] { PlayAgainstComputer(2); });
    connect(level3, &QAction::triggered, this, [this] { PlayAgainstComputer(3); });
    connect(mnuQuit_, &QAction::triggered, this,
            [this] { Procedure("mnuQuit_Click", [&](Steps& steps) { steps([&] { close(); }); }); });
    // The engine owns the option's state; the check mark is redrawn from it.
    connect(mnuWarnMeld_, &QAction::triggered, this, [this] {
        mnuWarnMeld_->setChecked(table_->WarnIfMeldable());
        table_->mnuWarnMeld_Click();
    });
    connect(mnuHowToPlay_, &QAction::triggered, this, [this] { ShowHelp(); });
}

void Form1::BuildHistory() {
    mnuHistory_ = new QAction("Move &History", this);
    mnuHistory_->setObjectName("mnuHistory");
    mnuHistory_->setCheckable(true);
    mnuHistory_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_H));
    for (QAction* menu : menuBar()->actions())
        if (menu->text() == "&Options") menu->menu()->addAction(mnuHistory_);
    connect(mnuHistory_, &QAction::triggered, this, [this](bool open) {
        MakeHistory();
        history_->setVisible(open);
    });
}

// The panel, like the card slots, is made once the first frame is drawn or at its first line.
void Form1::MakeHistory() {
    if (history_) return;
    // Below the table, not over it: the window's layout gives way while the panel is open. Below
    // rather than beside, because the layout's fonts follow the height: a narrower table would
    // cut its texts, a lower one only makes them smaller.
    history_ = new QDockWidget("Move History", this);
    history_->setObjectName("History");
    history_->setFeatures(QDockWidget::DockWidgetClosable | QDockWidget::DockWidgetMovable);
    historyText_ = new QPlainTextEdit(history_);
    historyText_->setObjectName("HistoryText");
    historyText_->setAccessibleName(QStringLiteral("move history"));
    historyText_->setReadOnly(true);
    // Like the chat, a bounded record: a session of many games keeps its last lines.
    historyText_->setMaximumBlockCount(static_cast<int>(Transcript::kMostLines));
    historyText_->setFont(DesignFont(9));
    history_->setWidget(historyText_);
    history_->setAllowedAreas(Qt::BottomDockWidgetArea | Qt::TopDockWidgetArea);
    historyText_->setMinimumHeight(Px(900));
    addDockWidget(Qt::BottomDockWidgetArea, history_);
    // Six lines or so: enough to read the opponent's last turn, little taken from the table.
    connect(history_, &QDockWidget::visibilityChanged, this, [this](bool visible) {
        if (!visible) return;
        resizeDocks({history_}, {Px(1500)}, Qt::Vertical);
        // Opened at its latest lines, once the panel has its height.
        QTimer::singleShot(0, historyText_, [text = historyText_] {
            text->moveCursor(QTextCursor::End);
            text->ensureCursorVisible();
        });
    });
    history_->hide();
    // The menu's check mark follows the panel, closed by its own button as well.
    connect(history_->toggleViewAction(), &QAction::toggled, mnuHistory_, &QAction::setChecked);
}

void Form1::ShowHelp() {
    if (!help_) {
        auto* box = new QDialog(this);
        box->setObjectName("HelpWindow");
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setWindowTitle(QString::fromStdString(HelpTitle()));
        auto* text = new QTextBrowser(box);
        text->setAccessibleName(QString::fromStdString(HelpTitle()));
        text->setHtml(QString::fromStdString(HelpText()));
        auto* close = new QPushButton("Close", box);
        connect(close, &QPushButton::clicked, box, &QDialog::close);
        auto* layout = new QVBoxLayout(box);
        layout->addWidget(text);
        layout->addWidget(close, 0, Qt::AlignRight);
        box->resize(Px(7500), Px(6600));
        help_ = box;
    }
    // Modeless: the game goes on while the player reads.
    help_->show();
    help_->raise();
    help_->activateWindow();
}

void Form1::WireSocket() {
    socket_.onConnectionRequest = [this](int index, long id) {
        table_->tcpTalker_ConnectionRequest(index, id);
    };
    socket_.onDataArrival = [this](int index) { table_->tcpTalker_DataArrival(index); };
    socket_.onClose = [this](int index) { table_->tcpTalker_Close(index); };
    socket_.onConnectFailed = [this] { table_->ConnectionFailed(); };
    socket_.onConnected = [this](int index) { table_->tcpTalker_Connect(index); };
    // The engine's clock: callers who do not prove themselves in time are turned away.
    auto* ticks = new QTimer(this);
    connect(ticks, &QTimer::timeout, this, [this] { table_->Tick(); });
    ticks->start(1000);
}

QLabel* Form1::label(const char* name) const {
    return findChild<QLabel*>(name);
}
QAction* Form1::action(const char* name) const {
    return findChild<QAction*>(name);
}

CardImage* Form1::imgMeld(int slot) const {
    return slot >= 0 && slot < meldSlotCount() ? imgMeld_[static_cast<std::size_t>(slot)] : nullptr;
}

}  // namespace kelvane
