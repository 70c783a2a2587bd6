#include "ui/resizer.h"

#include <QWidget>

#include "ui/geometry.h"

namespace kelvane {

namespace {
constexpr int kMaxWindows = 12;
}

void FormResizer::ResizeForm(QWidget* window, bool allControls) {
    if (!window->isVisible()) return;
    if (!windows_.contains(window->objectName().toLower())) return RecordLayout(window);
    AutoResize(window, allControls);
}

void FormResizer::RecordLayout(QWidget* window) {
    if (windows_.size() >= kMaxWindows) return;
    Layout& layout = windows_[window->objectName().toLower()];
    layout.size = window->size();
    for (QWidget* child : window->findChildren<QWidget*>())
        layout.controls.push_back({child, child->geometry(), child->font().pointSizeF()});
}

void FormResizer::AutoResize(QWidget* window, bool allControls) {
    const Layout& layout = windows_[window->objectName().toLower()];
    if (layout.size.isEmpty()) return;
    const double rx = double(window->width()) / layout.size.width();
    const double ry = double(window->height()) / layout.size.height();
    for (const Control& c : layout.controls) {
        if (!c.widget) continue;
        if (!allControls &&
            !c.widget->property("tag").toString().contains("AutoResize", Qt::CaseInsensitive))
            continue;
        if (c.pointSize > 0) {
            QFont font = c.widget->font();
            font.setPointSizeF(std::max(1.0, c.pointSize * ry));
            c.widget->setFont(font);
        }
        c.widget->setGeometry(Round(c.geometry.x() * rx), Round(c.geometry.y() * ry),
                              Round(c.geometry.width() * rx), Round(c.geometry.height() * ry));
    }
    window->update();
}

}  // namespace kelvane
