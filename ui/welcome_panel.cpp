// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/welcome_panel.h"

#include <QAction>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QRegularExpression>

#include "ui/fonts.h"
#include "words/texts.h"

namespace kelvane {

namespace {

// A menu caption as a button or a list shows it: without the mnemonic's ampersand.
QString WithoutMnemonic(const QString& caption) {
    QString text = caption;
    return text.remove(QRegularExpression(QStringLiteral("&(?!&)")));
}

// A control of the panel is usable exactly when its menu entry is.
void Follow(QAction* action, QWidget* control) {
    control->setEnabled(action->isEnabled());
    QObject::connect(action, &QAction::enabledChanged, control, &QWidget::setEnabled);
}

}  // namespace

WelcomePanel::WelcomePanel(QAction* computerMenu, QAction* server, QAction* client, QWidget* parent)
    : QFrame(parent) {
    const QList<QAction*> computerLevels = computerMenu->menu()->actions();
    setObjectName("WelcomePanel");
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    // The table's face, as the table's own texts and buttons around it, and the heading bold at
    // the status line's size: the first frame draws the panel with faces it draws anyway.
    setFont(TableFont());
    const WelcomeTexts words = WelcomeText();
    setAccessibleName(QString::fromStdString(words.heading));

    auto* heading = new QLabel(QString::fromStdString(words.heading), this);
    heading->setFont(DesignFont(10, true));
    auto* howTo = new QLabel(QString::fromStdString(words.howToPlay), this);
    howTo->setWordWrap(true);

    level_ = new QComboBox(this);
    level_->setObjectName("WelcomeLevel");
    for (QAction* level : computerLevels) level_->addItem(WithoutMnemonic(level->text()));
    level_->setAccessibleName(QStringLiteral("Level"));
    computer_ = new QPushButton(WithoutMnemonic(computerMenu->text()), this);
    computer_->setObjectName("WelcomeComputer");
    computer_->setDefault(true);
    connect(computer_, &QPushButton::clicked, this, [this, computerLevels] {
        const int at = level_->currentIndex();
        if (at >= 0 && at < computerLevels.size()) computerLevels[at]->trigger();
    });
    // The submenu's entry stands for all its levels: the session disables it with the others.
    Follow(computerMenu, computer_);
    Follow(computerMenu, level_);
    server_ = Button(server);
    client_ = Button(client);

    auto* grid = new QGridLayout(this);
    grid->addWidget(heading, 0, 0, 1, 2);
    grid->addWidget(computer_, 1, 0);
    grid->addWidget(level_, 1, 1);
    grid->addWidget(server_, 2, 0);
    grid->addWidget(client_, 3, 0);
    grid->addWidget(howTo, 4, 0, 1, 2);
    grid->setColumnStretch(1, 1);
    setTabOrder(computer_, level_);
    setTabOrder(level_, server_);
    setTabOrder(server_, client_);
}

// The menu's caption, so the two never say different things.
QPushButton* WelcomePanel::Button(QAction* action) {
    auto* button = new QPushButton(WithoutMnemonic(action->text()), this);
    button->setObjectName(action->objectName().replace("mnu", "Welcome"));
    connect(button, &QPushButton::clicked, action, &QAction::trigger);
    Follow(action, button);
    return button;
}

void WelcomePanel::PlaceIn(const QRect& area) {
    const QSize wanted = sizeHint().expandedTo(QSize(area.width() / 2, 0));
    const QSize size = wanted.boundedTo(area.size());
    setGeometry(QRect(area.center() - QPoint(size.width() / 2, size.height() / 2), size));
}

}  // namespace kelvane
