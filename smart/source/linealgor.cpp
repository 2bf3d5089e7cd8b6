// Integer line geometry. Differences of two ints need 33 bits and their products 66,
// so the arithmetic runs in int64_t and __int128; the results are the ones the plain
// int formulas give wherever those do not overflow.
#include "linealgor.h"

#include <climits>
#include <cmath>
#include <cstdlib>

#include "qdr/qdassert.h"

namespace {

using Wide = __int128;
using UWide = unsigned __int128;

// Moves the end (x, y) of a line of slope dy/dx onto the border of the rectangle
// (edges included); false when the line passes it by. Within the caller's bounds a
// crossing on the left or right edge implies dx != 0, one on the top or bottom dy != 0.
bool ClipEnd(int64_t& x, int64_t& y, int64_t dx, int64_t dy, const int64_t box[4]) {
    const int64_t left = box[0], top = box[1], right = box[2], bottom = box[3];
    if (x >= left && x <= right && y >= top && y <= bottom) return true;
    if (x < left || x > right) {
        const int64_t edge = x < left ? left : right;
        const int64_t cy = static_cast<int64_t>(Wide(edge - x) * dy / dx) + y;
        if (cy >= top && cy <= bottom) {
            x = edge;
            y = cy;
            return true;
        }
    }
    if (y >= top && y <= bottom) return false;
    const int64_t edge = y < top ? top : bottom;
    const int64_t cx = static_cast<int64_t>(Wide(edge - y) * dx / dy) + x;
    if (cx < left || cx > right) return false;
    x = cx;
    y = edge;
    return true;
}

int64_t Abs64(int64_t v) {
    return v < 0 ? -v : v;
}

// floor(sqrt(v)), exact where the double estimate is not.
int64_t ISqrt(UWide v) {
    auto r = static_cast<int64_t>(std::sqrt(static_cast<double>(v)));
    while (r > 0 && static_cast<UWide>(r) * r > v) --r;
    while (static_cast<UWide>(r + 1) * (r + 1) <= v) ++r;
    return r;
}

int ClampToInt(int64_t v) {
    return v < INT_MIN ? INT_MIN : v > INT_MAX ? INT_MAX : static_cast<int>(v);
}

}  // namespace

bool ClipLineToRect(int& x1, int& y1, int& x2, int& y2, const QDRect& rect) {
    const int64_t box[4] = {rect.left, rect.top, int64_t{rect.right} - 1, int64_t{rect.bottom} - 1};
    if ((x1 > x2 ? x1 : x2) < box[0] || (x1 < x2 ? x1 : x2) > box[2] ||
        (y1 > y2 ? y1 : y2) < box[1] || (y1 < y2 ? y1 : y2) > box[3])
        return false;
    // Each end moves along the original line, so the second does not inherit the
    // first one's truncation.
    const int64_t dx = int64_t{x2} - x1, dy = int64_t{y2} - y1;
    int64_t ax = x1, ay = y1, bx = x2, by = y2;
    if (!ClipEnd(ax, ay, dx, dy, box) || !ClipEnd(bx, by, dx, dy, box)) return false;
    x1 = static_cast<int>(ax);
    y1 = static_cast<int>(ay);
    x2 = static_cast<int>(bx);
    y2 = static_cast<int>(by);
    return true;
}

int LinePoints(int x1, int y1, int x2, int y2, QDPoint* outPoints) {
    LineStep step(x1, y1, x2, y2);
    QDR_CHECK_OR_RETURN(step.Count() <= INT_MAX, -1);
    if (!outPoints) return static_cast<int>(step.Count());
    int n = 0, x, y;
    while (step.Next(x, y)) outPoints[n++] = {x, y};
    return n;
}

bool IsPointNearLine(int x1, int y1, int x2, int y2, int px, int py, int tolerance) {
    QDR_CHECK_OR_RETURN(tolerance >= 0, false);
    const int64_t dx = int64_t{x2} - x1, dy = int64_t{y2} - y1;
    const int64_t len = ISqrt(static_cast<UWide>(Wide(dy) * dy + Wide(dx) * dx));
    if (len != 0) {
        const Wide cross = Wide(-dx) * py + Wide(dy) * px - (Wide(dy) * x1 + Wide(-dx) * y1);
        if ((cross < 0 ? -cross : cross) / len > tolerance) return false;
    }
    const int64_t adx = Abs64(dx), ady = Abs64(dy);
    return (Abs64(int64_t{px} - x1) < adx && Abs64(int64_t{px} - x2) < adx) ||
           (Abs64(int64_t{py} - y1) < ady && Abs64(int64_t{py} - y2) < ady);
}

bool LineToRectangle(int x1, int y1, int x2, int y2, int d, QDPoint outQuad[4]) {
    QDR_CHECK_OR_RETURN(d >= 1 && outQuad != nullptr, false);
    int64_t ax = x1, ay = y1, bx = x2, by = y2, ox, oy;
    // Pushes b away from a and a away from b along one axis.
    auto extend = [](int64_t& a, int64_t& b, int64_t by_) {
        if (b >= a) {
            b += by_;
            a -= by_;
        } else {
            b -= by_;
            a += by_;
        }
    };
    const int64_t dx = bx - ax, dy = by - ay;
    if (dx != 0) {
        const double slope = static_cast<double>(dy) / static_cast<double>(dx);
        const double s = std::sqrt(static_cast<double>(d) * d / (slope * slope + 1));
        // |s * dy / dx| stays below d, so the casts cannot overflow.
        ox = static_cast<int64_t>(-s * static_cast<double>(dy) / static_cast<double>(dx));
        oy = static_cast<int64_t>(s);
        extend(ax, bx, Abs64(oy));
    } else {
        ox = d;
        oy = 0;
        extend(ay, by, Abs64(ox));
    }
    const int64_t quad[4][2] = {
        {ax + ox, ay + oy}, {ax - ox, ay - oy}, {bx - ox, by - oy}, {bx + ox, by + oy}};
    for (int i = 0; i < 4; ++i) outQuad[i] = {ClampToInt(quad[i][0]), ClampToInt(quad[i][1])};
    return true;
}
