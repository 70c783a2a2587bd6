// SPDX-License-Identifier: GPL-3.0-or-later
// Renders the scalable icon as the square PNGs a desktop's icon theme looks up by size, at build
// time, with the same SVG renderer the window uses for its own icon.
//   kelvane_render_icon ICON.svg OUTPUT_DIR SIZE...   writes OUTPUT_DIR/SIZExSIZE/kelvane.png

#include <QDir>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: %s ICON.svg OUTPUT_DIR SIZE...\n", argv[0]);
        return 2;
    }
    QSvgRenderer svg(QString::fromLocal8Bit(argv[1]));
    if (!svg.isValid()) {
        std::fprintf(stderr, "%s: cannot read %s\n", argv[0], argv[1]);
        return 1;
    }
    const QDir out(QString::fromLocal8Bit(argv[2]));
    for (int i = 3; i < argc; ++i) {
        const int size = std::stoi(argv[i]);
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        {
            QPainter painter(&image);
            painter.setRenderHint(QPainter::Antialiasing);
            svg.render(&painter);
        }
        const QString folder = QString("%1x%1").arg(size);
        const QString file = out.filePath(folder + "/kelvane.png");
        if (!out.mkpath(folder) || !image.save(file, "PNG")) {
            std::fprintf(stderr, "%s: cannot write %s\n", argv[0], qPrintable(file));
            return 1;
        }
    }
    return 0;
}
