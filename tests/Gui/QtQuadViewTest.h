#pragma once

#include "Base/QtDraggerButton.h"
#include "Base/QtQVSimpleSplitter.h"
#include "Base/QtQVSplitterFrame.h"
#include "Base/QtQVViewFrame.h"
#include "Base/QtQuadView.h"
#include "Gui/GuiTest.h"

#include <algorithm>

namespace vlrTest {

inline const char* const quarters = "500x500 500x500 500x500 500x500";

inline QuadViewGeometry::Extents extentsOf(QtQuadView& view) {
    QuadViewGeometry::Extents r;
    view.viewerDimensions(r[0], r[1], r[2], r[3]);
    return r;
}

/// A test with four views of 1000 x 800 pixels.
struct QtQuadViewTest : GuiTest {
    QtQuadViewTest() {
        host.resize(1200, 900);
        host.show();
        view.resize(1000, 800);
        view.show();
    }

    std::string layout() {
        QStringList texts;
        for (const QSize& size : extentsOf(view))
            texts << text("%1x%2").arg(size.width()).arg(size.height());
        return texts.join(QLatin1Char(' ')).toStdString();
    }

    QtQVSimpleSplitter* splitter(int piece) {
        return view.findChildren<QtQVSimpleSplitter*>()[piece];
    }
    QtQVSplitterFrame* line(int piece) { return view.findChildren<QtQVSplitterFrame*>()[piece]; }
    QtQVViewFrame* frame(int index) { return static_cast<QtQVViewFrame*>(view.getView(index)); }

    void drag(int piece, const QPoint& to) {
        emit splitter(piece)->mouseMove(view.mapToGlobal(to));
        emit splitter(piece)->dragFinished();
        QCoreApplication::sendPostedEvents(&view, QEvent::LayoutRequest);
    }
    /// A pointer that is moved with the left button down.
    void move(QWidget* widget, const QPoint& local, const QPoint& inView) {
        dragTo(widget, local, view.mapToGlobal(inView));
    }

    QLabel* fill(int index) {
        auto* const content = new QLabel(text("content"));
        frame(index)->layout()->addWidget(content);
        return content;
    }

    std::ptrdiff_t visibleButtons() {
        const auto buttons = view.findChildren<QPushButton*>();
        return std::count_if(buttons.begin(), buttons.end(),
                             [](auto* b) { return b->isVisible(); });
    }

    QWidget host;
    QtQuadView view{&host};
};

} // namespace vlrTest
