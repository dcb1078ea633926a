#pragma once

#include <QColor>
#include <QPointF>

#include <string>

class QPainter;

namespace zbvolume
{

/// Text in pictures, drawn with lines and arcs of its own: no font has to be installed, no display is needed,
/// and a picture has the same bytes on every machine. Printable ASCII; anything else becomes a box.
///
/// capHeight is the height of a capital letter in pixels.
class StrokeFont
{
public:
    enum class Align { Left, Centre, Right };

    static double width(const std::string& text, double capHeight);
    /// point is on the base line, at the start, the middle or the end of the text.
    static void draw(QPainter& painter, QPointF point, const std::string& text, double capHeight,
                     const QColor& colour, Align align = Align::Left);
};

}  // namespace zbvolume
