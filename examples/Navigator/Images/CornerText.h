#pragma once

#include <QtCore/QRect>
#include <QtCore/QStringList>

class QPainter;

/// Paints the lines on a dark ground into an upper corner of the area, the one on the side that
/// `side` says; over one half of its width at most.
void paintCornerText(QPainter& painter, const QRect& area, const QStringList& lines,
                     Qt::Alignment side);

/// Paints the warning sign with a title and the reason below it into the middle of the area.
void paintProblem(QPainter& painter, const QRect& area, const QString& title,
                  const QString& reason);

/// The same without the sign.
void paintNote(QPainter& painter, const QRect& area, const QString& title, const QString& reason);
