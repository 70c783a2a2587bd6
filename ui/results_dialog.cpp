// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/results_dialog.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QPushButton>
#include <QTextDocument>

#include "ui/fonts.h"
#include "ui/geometry.h"

namespace kelvane {

namespace {
// The figures' band: five rows of the table and a closing line.
constexpr int kFiguresHeight = 1650;
}  // namespace

ResultsDialog::ResultsDialog(QWidget* parent) : QDialog(parent) {
    setObjectName("Dialog");
    setWindowTitle("Kelvane");
    setAttribute(Qt::WA_DeleteOnClose);
    // The design's window, taller by the figures' band between the words and the button.
    setFixedSize(Px(6030), Px(2145 + kFiguresHeight));
    label1_ = new QLabel("Label1", this);
    label1_->setObjectName("Label1");
    label1_->setGeometry(Twips(240, 240, 5535, 1095));
    label1_->setAlignment(Qt::AlignCenter);
    // A message longer than a line goes on to a second one within the label's height.
    label1_->setWordWrap(true);
    label1_->setFont(DesignFont(24));
    figuresLabel_ = new QLabel(this);
    figuresLabel_->setObjectName("Figures");
    figuresLabel_->setGeometry(Twips(240, 1395, 5535, kFiguresHeight));
    figuresLabel_->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    figuresLabel_->setTextFormat(Qt::RichText);
    figuresLabel_->setFont(DesignFont(9.75));
    okButton_ = new QPushButton("OK", this);
    okButton_->setObjectName("OKButton");
    okButton_->setGeometry(Twips(2400, 1680 + kFiguresHeight, 1215, 375));
    okButton_->setDefault(true);
    connect(okButton_, &QPushButton::clicked, this, &QDialog::close);
    okButton_->installEventFilter(this);
}

namespace {

QString Cell(const std::string& text, const char* tag, const char* align) {
    return QStringLiteral("<%1 align=\"%2\" style=\"padding: 0 8px\">%3</%1>")
        .arg(QLatin1String(tag), QLatin1String(align),
             QString::fromStdString(text).toHtmlEscaped());
}

// The figures as a small table: the heading row and column in bold, the numbers to the right.
QString FiguresHtml(const ResultFigures& f) {
    QString html = QStringLiteral("<table align=\"center\" cellspacing=\"0\">");
    for (std::size_t i = 0; i < f.rows.size(); ++i) {
        const ResultFigures::Row& row = f.rows[i];
        const bool heading = i == 0;
        const bool total = i + 1 == f.rows.size();
        html += QStringLiteral("<tr>") + Cell(row.heading, "th", "left") +
                Cell(row.you, heading || total ? "th" : "td", "right") +
                Cell(row.opponent, heading || total ? "th" : "td", "right") +
                QStringLiteral("</tr>");
    }
    html += QStringLiteral("</table>");
    if (!f.closing.empty())
        html += QStringLiteral("<p>") + QString::fromStdString(f.closing).toHtmlEscaped() +
                QStringLiteral("</p>");
    return html;
}

}  // namespace

void ResultsDialog::ShowMessage(const QString& text, const ResultFigures& figures) {
    label1_->setText(text);
    figuresLabel_->setText(FiguresHtml(figures));
    if (isVisible()) return;
    show();
    raise();
    activateWindow();
    okButton_->setFocus(Qt::OtherFocusReason);
}

QString ResultsDialog::message() const {
    return label1_->text();
}

QString ResultsDialog::figuresText() const {
    QTextDocument shown;
    shown.setHtml(figuresLabel_->text());
    return shown.toPlainText().simplified();
}

bool ResultsDialog::eventFilter(QObject* watched, QEvent* event) {
    // Only a control of this program takes the focus away for good; when the player switches to
    // another program, the button gets the focus back on his return.
    if (watched == okButton_ && event->type() == QEvent::FocusOut &&
        QApplication::activeWindow() != nullptr)
        close();
    return QDialog::eventFilter(watched, event);
}

}  // namespace kelvane
