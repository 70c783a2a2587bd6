// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/clipboard.h"

#include <QtGui/private/qguiapplication_p.h>
#include <qpa/qplatformclipboard.h>
#include <qpa/qplatformintegration.h>

namespace kelvane {

void HandOverClipboard() {
    // The platform's clipboard hands its text over when it is destroyed (on X11: the clipboard
    // manager's SAVE_TARGETS); nothing else of the application is torn down.
    QPlatformIntegration* platform = QGuiApplicationPrivate::platformIntegration();
    if (!platform) return;
    delete platform->clipboard();
}

}  // namespace kelvane
