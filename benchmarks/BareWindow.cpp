// The least a Qt application can be: what an application built on the libraries is held against.
// It ends after its first frame, or, with the option --stay, when somebody ends it.

#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMainWindow>

#include <iostream>

namespace {

class BareWindow : public QMainWindow {
private:
    void paintEvent(QPaintEvent* event) override {
        QMainWindow::paintEvent(event);
        // The frame is complete when the event loop is back.
        QTimer::singleShot(0, this, [] {
            std::cout << "first frame" << std::endl;
            if (!QCoreApplication::arguments().contains(QStringLiteral("--stay")))
                QApplication::quit();
        });
    }
};

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    BareWindow window;
    window.show();
    return QApplication::exec();
}
