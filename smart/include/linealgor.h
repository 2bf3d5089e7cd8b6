// Integer line geometry under every line the toolkits draw or hit-test: clipping to
// a rectangle, the point-by-point step, nearness of a point and the band around a
// thick line. All of it works on any int coordinates: the differences are taken in
// 64 bits and the products in 128, so lines across the whole int range neither
// overflow nor lose exactness.
#pragma once

#include <cstdint>

#include "qdgeometry.h"

// Cuts the line to the part inside `rect` (right and bottom excluded) and moves the
// ends there; false when no part lies inside. Each end is moved along the exact
// line, truncated toward zero, so it may lie a pixel off the true crossing.
//   (-10, 5)-(20, 5) in (0, 0, 10, 10) -> (0, 5)-(9, 5)
bool ClipLineToRect(int& x1, int& y1, int& x2, int& y2, const QDRect& rect);

// The step of every line: with max = max(|dx|, |dy|) it yields max + 2 points, the
// first one twice, the last (x2, y2). Walk it with Next until it gives false.
//   (0, 0)-(3, 0) -> (0,0) (0,0) (1,0) (2,0) (3,0)
class LineStep {
public:
    LineStep(int x1, int y1, int x2, int y2)
        : x_(x1), y_(y1), sx_(x2 < x1 ? -1 : x2 > x1), sy_(y2 < y1 ? -1 : y2 > y1) {
        dx_ = sx_ * (int64_t{x2} - x1);
        dy_ = sy_ * (int64_t{y2} - y1);
        max_ = dx_ > dy_ ? dx_ : dy_;
        left_ = max_ + 2;
    }
    int64_t Count() const { return max_ + 2; }
    bool Next(int& x, int& y) {
        if (left_ == 0) return false;
        --left_;
        x = static_cast<int>(x_);
        y = static_cast<int>(y_);
        ex_ += dx_;
        ey_ += dy_;
        if (ex_ > max_) {
            ex_ -= max_;
            x_ += sx_;
        }
        if (ey_ > max_) {
            ey_ -= max_;
            y_ += sy_;
        }
        return true;
    }

private:
    // 64 bits: after the last point the walk may still step once past (x2, y2).
    int64_t x_, y_;
    int sx_, sy_;
    int64_t dx_, dy_, max_, ex_ = 0, ey_ = 0, left_;
};

// Fills `outPoints` with the points of LineStep and returns their count; a null
// `outPoints` only counts. A line of more than INT_MAX - 2 steps is refused (-1).
int LinePoints(int x1, int y1, int x2, int y2, QDPoint* outPoints);

// Whether (px, py) lies within `tolerance` of the line and between its ends, as
// measured along the larger of its extents; a line of one point is near nothing.
bool IsPointNearLine(int x1, int y1, int x2, int y2, int px, int py, int tolerance);

// The four corners of a band of half width about `d` around the line, for hit tests
// of thick lines. The ends are pushed outward along x (along y for an upright line)
// by the band's offset. Corners in order: (x1 + ox, y1 + oy), (x1 - ox, y1 - oy), (x2 - ox, y2 -
// oy), (x2 + ox, y2 + oy). Corners beyond the int range are held at its limits.
bool LineToRectangle(int x1, int y1, int x2, int y2, int d, QDPoint outQuad[4]);
