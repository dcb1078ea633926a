#include "StrokeFont.h"

#include <QPainter>
#include <QPainterPath>

#include <array>
#include <charconv>
#include <cstring>

namespace zbvolume
{

namespace
{

// One glyph from ' ' to '~' each. The base line is y = 0 and capitals reach y = -6, small letters y = -4.1.
// M x y: move; L x y: line; Q x y x y: quadratic curve by control and end point;
// O x y w h start sweep: arc of an ellipse in that box, in degrees, counter-clockwise from the right;
// A ...: the same arc, joined to the last point by a line.
constexpr const char* glyphs[] = {
    "",                                                                                           // space
    "M.2 -6L.2 -1.8M.2 -.1L.2 0",                                                                 // !
    "M0 -6L0 -4.6M1.4 -6L1.4 -4.6",                                                               // "
    "M1 0L1.8 -6M2.9 0L3.7 -6M.1 -2L4.4 -2M.4 -4L4.7 -4",                                         // #
    "M2 -6.9L2 .9O.2 -6 3.6 3.1 40 230A0 -2.9 4 2.9 90 -230",                                     // $
    "O0 -6 1.9 2.5 0 360O3.1 -2.5 1.9 2.5 0 360M4.3 -6L.7 0",                                     // %
    "M4.4 0L.9 -4.2A.7 -6 2.2 2.3 200 -275L.9 -2.9A0 -3.2 3 3.2 120 200L4.2 -2.6",                // &
    "M0 -6L0 -4.6",                                                                               // '
    "O0 -7 3.4 8.4 115 130",                                                                      // (
    "O-1.8 -7 3.4 8.4 65 -130",                                                                   // )
    "M1.5 -6L1.5 -2.8M.1 -5.2L2.9 -3.6M2.9 -5.2L.1 -3.6",                                         // *
    "M0 -2.6L3.4 -2.6M1.7 -4.3L1.7 -.9",                                                          // +
    "M.5 -.2L.1 1",                                                                               // ,
    "M0 -2.4L2.3 -2.4",                                                                           // -
    "M.2 -.1L.2 0",                                                                               // .
    "M0 .7L2.5 -6.5",                                                                             // /
    "O0 -6 3.9 6 0 360",                                                                          // 0
    "M.5 -4.9L2.1 -6L2.1 0M.6 0L3.6 0",                                                           // 1
    "O.1 -6 3.6 3.5 160 -195L0 0L3.9 0",                                                          // 2
    "O.3 -6 3.2 2.9 150 -240O0 -3.1 3.8 3.1 90 -240",                                             // 3
    "M3 0L3 -6L0 -1.8L4 -1.8",                                                                    // 4
    "M3.5 -6L.8 -6L.4 -3.3A0 -3.9 3.9 3.9 135 -285",                                              // 5
    "O0 -3.8 3.9 3.8 0 360M3.3 -5.8Q.2 -5.3 .05 -2.2",                                            // 6
    "M0 -6L3.8 -6L1.3 0",                                                                         // 7
    "O.35 -6 3.2 2.9 0 360O0 -3.1 3.9 3.1 0 360",                                                 // 8
    "O0 -6 3.9 3.8 0 360M3.85 -3.8Q3.7 -.7 .6 -.2",                                               // 9
    "M.2 -3.6L.2 -3.5M.2 -.1L.2 0",                                                               // :
    "M.4 -3.6L.4 -3.5M.5 -.2L.1 1",                                                               // ;
    "M3 -4.5L0 -2.6L3 -.7",                                                                       // <
    "M0 -3.4L3.4 -3.4M0 -1.8L3.4 -1.8",                                                           // =
    "M0 -4.5L3 -2.6L0 -.7",                                                                       // >
    "O0 -6 3.4 3.3 170 -260L1.7 -1.8M1.7 -.1L1.7 0",                                              // ?
    "O1.5 -4.4 2.6 2.9 0 360M4.1 -4.4L4.1 -2.4Q4.8 -.8 5.8 -2.6A0 -6.2 5.8 6.8 10 300",           // @
    "M0 0L2.3 -6L4.6 0M.8 -2L3.8 -2",                                                             // A
    "M0 0L0 -6L2.2 -6A.8 -6 2.9 2.9 90 -180L0 -3.1M2.2 -3.1A.7 -3.1 3.3 3.1 90 -180L0 0",         // B
    "O0 -6 4.9 6 45 270",                                                                         // C
    "M0 0L0 -6L1.7 -6A-.9 -6 5.3 6 90 -180L0 0",                                                  // D
    "M3.6 -6L0 -6L0 0L3.7 0M0 -3.1L3 -3.1",                                                       // E
    "M3.6 -6L0 -6L0 0M0 -3.1L3 -3.1",                                                             // F
    "O0 -6 4.9 6 45 310L4.8 -2.8L2.8 -2.8",                                                       // G
    "M0 0L0 -6M4.2 0L4.2 -6M0 -3.1L4.2 -3.1",                                                     // H
    "M.1 0L.1 -6",                                                                                // I
    "M2.7 -6L2.7 -1.6A0 -3.2 2.7 3.2 0 -170",                                                     // J
    "M0 0L0 -6M3.9 -6L0 -2.4M1.4 -3.7L4.1 0",                                                     // K
    "M0 -6L0 0L3.4 0",                                                                            // L
    "M0 0L0 -6L2.6 -1.6L5.2 -6L5.2 0",                                                            // M
    "M0 0L0 -6L4.3 0L4.3 -6",                                                                     // N
    "O0 -6 5.2 6 0 360",                                                                          // O
    "M0 0L0 -6L2.1 -6A.4 -6 3.4 3.3 90 -180L0 -2.7",                                              // P
    "O0 -6 5.2 6 0 360M3.3 -1.7L5.2 .4",                                                          // Q
    "M0 0L0 -6L2.1 -6A.4 -6 3.4 3.3 90 -180L0 -2.7M2.2 -2.7L4.1 0",                               // R
    "O.2 -6 3.6 3.1 40 230A0 -2.9 4 2.9 90 -230",                                                 // S
    "M0 -6L4.4 -6M2.2 -6L2.2 0",                                                                  // T
    "M0 -6L0 -2.1A0 -4.2 4.2 4.2 180 180L4.2 -6",                                                 // U
    "M0 -6L2.2 0L4.4 -6",                                                                         // V
    "M0 -6L1.6 0L3.2 -5.4L4.8 0L6.4 -6",                                                          // W
    "M0 0L4.1 -6M0 -6L4.1 0",                                                                     // X
    "M0 -6L2.1 -2.9L2.1 0M4.2 -6L2.1 -2.9",                                                       // Y
    "M.1 -6L4 -6L0 0L4.1 0",                                                                      // Z
    "M1.4 -6.9L0 -6.9L0 1.2L1.4 1.2",                                                             // [
    "M0 -6.5L2.5 .7",                                                                             // backslash
    "M0 -6.9L1.4 -6.9L1.4 1.2L0 1.2",                                                             // ]
    "M0 -4.2L1.6 -6L3.2 -4.2",                                                                    // ^
    "M0 .9L3.8 .9",                                                                               // _
    "M0 -6.2L.9 -5",                                                                              // `
    "O0 -4.1 3.4 4.1 0 360M3.4 -4.1L3.4 0",                                                       // a
    "M0 -6.3L0 0O0 -4.1 3.5 4.1 0 360",                                                           // b
    "O0 -4.1 3.7 4.1 45 270",                                                                     // c
    "O0 -4.1 3.5 4.1 0 360M3.5 -6.3L3.5 0",                                                       // d
    "M0 -2.1L3.6 -2.1A0 -4.1 3.6 4.1 0 310",                                                      // e
    "M.8 0L.8 -4.9A.8 -6.3 2.2 2.8 180 -110M0 -4.1L2.2 -4.1",                                     // f
    "O0 -4.1 3.4 4.1 0 360M3.4 -4.1L3.4 .2A0 -1.6 3.4 3.6 0 -150",                                // g
    "M0 -6.3L0 0M0 -2.3A0 -4.1 3.2 3.6 180 -180L3.2 0",                                           // h
    "M.1 -4.1L.1 0M.1 -5.9L.1 -5.8",                                                              // i
    "M.9 -4.1L.9 .8A-.9 -.4 1.8 2.4 0 -110M.9 -5.9L.9 -5.8",                                      // j
    "M0 -6.3L0 0M2.9 -4.1L0 -1.5M1.1 -2.5L3.1 0",                                                 // k
    "M.1 -6.3L.1 0",                                                                              // l
    "M0 -4.1L0 0M0 -2.5A0 -4.1 2.6 3.2 180 -180L2.6 0M2.6 -2.5A2.6 -4.1 2.6 3.2 180 -180L5.2 0",  // m
    "M0 -4.1L0 0M0 -2.3A0 -4.1 3.2 3.6 180 -180L3.2 0",                                           // n
    "O0 -4.1 3.7 4.1 0 360",                                                                      // o
    "M0 -4.1L0 2O0 -4.1 3.5 4.1 0 360",                                                           // p
    "M3.5 -4.1L3.5 2O0 -4.1 3.5 4.1 0 360",                                                       // q
    "M0 -4.1L0 0M0 -2.3A0 -4.1 3 3.6 180 -125",                                                   // r
    "O.1 -4.1 2.8 2.1 40 230A0 -2 3 2 90 -230",                                                   // s
    "M.9 -5.6L.9 -1.2A.9 -2.4 2 2.4 180 105M0 -4.1L2.4 -4.1",                                     // t
    "M0 -4.1L0 -1.8A0 -3.6 3.2 3.6 180 180M3.2 -4.1L3.2 0",                                       // u
    "M0 -4.1L1.7 0L3.4 -4.1",                                                                     // v
    "M0 -4.1L1.3 0L2.6 -3.8L3.9 0L5.2 -4.1",                                                      // w
    "M0 0L3.1 -4.1M0 -4.1L3.1 0",                                                                 // x
    "M0 -4.1L1.7 0M3.4 -4.1L1.3 1.1Q.9 2 0 1.9",                                                  // y
    "M.1 -4.1L3 -4.1L0 0L3.1 0",                                                                  // z
    "M1.9 -6.9Q.8 -6.9 .9 -5.6L.9 -3.9Q.9 -2.9 0 -2.8Q.9 -2.7 .9 -1.8L.9 0Q.8 1.2 1.9 1.2",       // {
    "M.1 -6.9L.1 1.2",                                                                            // |
    "M0 -6.9Q1.1 -6.9 1 -5.6L1 -3.9Q1 -2.9 1.9 -2.8Q1 -2.7 1 -1.8L1 0Q1.1 1.2 0 1.2",             // }
    "M0 -2.2Q.9 -3.6 1.9 -2.7Q2.9 -1.8 3.8 -3",                                                   // ~
};
static_assert(std::size(glyphs) == '~' - ' ' + 1);
constexpr const char* unknownGlyph = "M0 0L0 -6L3.4 -6L3.4 0L0 0";

constexpr double capUnits = 6;
constexpr double spacing = 1.7;     // between glyphs
constexpr double spaceWidth = 1.3;  // of the blank itself
constexpr double digitWidth = 3.9;  // digits are equally wide, so that columns of them line up

const char* glyphOf(char character)
{
    return character >= ' ' && character <= '~' ? glyphs[character - ' '] : unknownGlyph;
}

QPainterPath pathOf(char character)
{
    QPainterPath path;
    for (const char* at = glyphOf(character); *at != '\0';) {
        const char command = *at++;
        const int count = command == 'Q' ? 4 : command == 'O' || command == 'A' ? 6 : 2;
        std::array<double, 6> n{};
        for (int i = 0; i < count; i++) {
            at += *at == ' ';
            at = std::from_chars(at, at + std::strlen(at), n[std::size_t(i)]).ptr;
        }
        switch (command) {
        case 'M':
            path.moveTo(n[0], n[1]);
            break;
        case 'L':
            path.lineTo(n[0], n[1]);
            break;
        case 'Q':
            path.quadTo(n[0], n[1], n[2], n[3]);
            break;
        case 'O':
            path.arcMoveTo(n[0], n[1], n[2], n[3], n[4]);
            [[fallthrough]];
        default:
            path.arcTo(n[0], n[1], n[2], n[3], n[4], n[5]);
        }
    }
    const bool isDigit = character >= '0' && character <= '9';
    if (isDigit)
        path.translate((digitWidth - path.boundingRect().right()) / 2, 0);
    return path;
}

double unitsOf(char character)
{
    if (character == ' ')
        return spaceWidth;
    return character >= '0' && character <= '9' ? digitWidth : pathOf(character).boundingRect().right();
}

}  // namespace

double StrokeFont::width(const std::string& text, double capHeight)
{
    double units = 0;
    for (const char character : text)
        units += unitsOf(character) + spacing;
    return text.empty() ? 0 : (units - spacing) * capHeight / capUnits;
}

void StrokeFont::draw(QPainter& painter, QPointF point, const std::string& text, double capHeight,
                      const QColor& colour, Align align)
{
    const double scale = capHeight / capUnits;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(point);
    if (align != Align::Left)
        painter.translate(-width(text, capHeight) * (align == Align::Centre ? 0.5 : 1), 0);
    painter.scale(scale, scale);
    painter.setPen(QPen(colour, 0.72, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    for (const char character : text) {
        painter.drawPath(pathOf(character));
        painter.translate(unitsOf(character) + spacing, 0);
    }
    painter.restore();
}

}  // namespace zbvolume
