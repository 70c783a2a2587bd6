// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QPointer>
#include <QRect>
#include <QSize>
#include <QString>
#include <vector>

class QWidget;

namespace kelvane {

// Scales a window's controls with the window. The first call while the window is visible records
// the layout: the window's size and font size and, for every control then on it, its place, size
// and font size, font sizes as whole points. Every later call sets them to the recorded values
// times the factor by which the window's width (left, width) or height (top, height, font size)
// has changed since. Always from the recording, so resizing back and forth never drifts.
class FormResizer {
  public:
    // With `allControls` false, only controls whose "tag" property holds "AutoResize" are scaled.
    void ResizeForm(QWidget* window, bool allControls);

  private:
    struct Control {
        QPointer<QWidget> widget;
        QRect geometry;
        double pointSize;
    };
    struct Layout {
        QSize size;
        double pointSize = 0;
        std::vector<Control> controls;
    };

    void RecordLayout(QWidget* window);
    void AutoResize(QWidget* window, bool allControls);

    QHash<QString, Layout> windows_;  // by lower-case window name
};

}  // namespace kelvane
