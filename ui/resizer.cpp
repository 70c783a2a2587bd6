// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/resizer.h"

#include <QWidget>
#include <algorithm>
#include <cmath>

#include "ui/geometry.h"

namespace kelvane {

namespace {
constexpr int kMaxWindows = 12;

// Font sizes are recorded as whole points, halves to the even neighbour: 8.25 becomes 8.
double WholePoints(const QFont& font) {
    return std::nearbyint(font.pointSizeF());
}

void ScaleFont(QWidget* widget, double recorded, double ry) {
    if (recorded <= 0) return;
    QFont font = widget->font();
    font.setPointSizeF(std::max(1.0, recorded * ry));
    widget->setFont(font);
}
}  // namespace

void FormResizer::ResizeForm(QWidget* window, bool allControls) {
    if (!window->isVisible()) return;
    if (!windows_.contains(window->objectName().toLower())) return RecordLayout(window);
    AutoResize(window, allControls);
}

void FormResizer::RecordLayout(QWidget* window) {
    if (windows_.size() >= kMaxWindows) return;
    Layout& layout = windows_[window->objectName().toLower()];
    layout.size = window->size();
    layout.pointSize = WholePoints(window->font());
    for (QWidget* child : window->findChildren<QWidget*>())
        layout.controls.push_back({child, child->geometry(), WholePoints(child->font())});
}

void FormResizer::AutoResize(QWidget* window, bool allControls) {
    const Layout& layout = windows_[window->objectName().toLower()];
    if (layout.size.isEmpty()) return;
    const double rx = double(window->width()) / layout.size.width();
    const double ry = double(window->height()) / layout.size.height();
    ScaleFont(window, layout.pointSize, ry);
    for (const Control& c : layout.controls) {
        if (!c.widget) continue;
        if (!allControls &&
            !c.widget->property("tag").toString().contains("AutoResize", Qt::CaseInsensitive))
            continue;
        ScaleFont(c.widget, c.pointSize, ry);
        c.widget->setGeometry(Round(c.geometry.x() * rx), Round(c.geometry.y() * ry),
                              Round(c.geometry.width() * rx), Round(c.geometry.height() * ry));
    }
    window->update();
}

}  // namespace kelvane
