#pragma once

#include <QtCore/QRect>
#include <QtCore/QStringList>
#include <QtGui/QColor>

class QPainter;

/// Paints the lines on a dark ground into the corner of the area that the alignment says. Lines
/// that are wider than `widest` pixels are shortened.
void paintCornerText(QPainter& painter, const QRect& area, const QStringList& lines,
                     Qt::Alignment corner, int widest, const QColor& color = {235, 235, 235});

/// Why no tips of instruments are seen here, into the lower left corner, where it is not
/// overlooked.
void paintTrackingText(QPainter& painter, const QRect& area, const QStringList& lines);

/// The width of a line that has the area for itself, or shares it with another.
int widestLine(const QRect& area);
int widestOfTwoLines(const QRect& area);

/// Paints the warning sign with a title and the reason below it into the middle of the area.
void paintProblem(QPainter& painter, const QRect& area, const QString& title,
                  const QString& reason);

/// The same without the sign.
void paintNote(QPainter& painter, const QRect& area, const QString& title, const QString& reason);
