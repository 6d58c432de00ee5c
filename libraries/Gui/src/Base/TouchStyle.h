#pragma once

#include <QtWidgets/QProxyStyle>

namespace vlr {

/// The application's style with what a finger has to hit in a single widget made large enough:
/// tabs, the arrow of a combo box, and the buttons of a spin box, which stand side by side. It is
/// given to a widget, not to the application, whose own style and style sheet stay what they are.
class TouchStyle : public QProxyStyle {
public:
    TouchStyle();

    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                           const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                         const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                            QPainter* painter, const QWidget* widget) const override;
};

} // namespace vlr
