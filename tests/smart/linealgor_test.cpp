// Line geometry: the step against a Bresenham walk, clipping, nearness and the band.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <vector>

#include "linealgor.h"
#include "report_capture.h"

namespace {

using Points = std::vector<QDPoint>;

// Bresenham along the major axis, its error one step ahead with a strict test,
// mirrored into the line's octant; the first point comes twice.
Points Reference(int x1, int y1, int x2, int y2) {
    const int64_t dx = int64_t{x2} - x1, dy = int64_t{y2} - y1;
    const bool steep = std::llabs(dy) > std::llabs(dx);
    const int64_t major = steep ? std::llabs(dy) : std::llabs(dx);
    const int64_t minor = steep ? std::llabs(dx) : std::llabs(dy);
    Points out;
    for (int64_t t = 0, err = 0, m = 0; t <= major; ++t) {
        if ((err += minor) > major) err -= major, ++m;
        const int64_t ox = steep ? m : t, oy = steep ? t : m;
        out.push_back({static_cast<int>(x1 + (dx < 0 ? -ox : ox)),
                       static_cast<int>(y1 + (dy < 0 ? -oy : oy))});
        if (t == 0) out.push_back(out.back());
    }
    return out;
}

Points Line(int x1, int y1, int x2, int y2) {
    Points v(static_cast<size_t>(LinePoints(x1, y1, x2, y2, nullptr)));
    EXPECT_EQ(static_cast<int>(v.size()), LinePoints(x1, y1, x2, y2, v.data()));
    return v;
}

TEST(LinePoints, BresenhamInEveryOctantClippingNearnessAndBands) {
    for (int dx = -9; dx <= 9; ++dx)
        for (int dy = -9; dy <= 9; ++dy)
            EXPECT_EQ(Reference(5, -3, 5 + dx, -3 + dy), Line(5, -3, 5 + dx, -3 + dy)) << dx << dy;
    // Near the ends of the int range, where a step past the end would overflow.
    EXPECT_EQ(Reference(INT_MAX - 40, INT_MIN, INT_MAX, INT_MIN + 17),
              Line(INT_MAX - 40, INT_MIN, INT_MAX, INT_MIN + 17));
    EXPECT_EQ(Reference(INT_MIN + 3, INT_MAX, INT_MIN, INT_MAX - 999),
              Line(INT_MIN + 3, INT_MAX, INT_MIN, INT_MAX - 999));
    ReportCapture reports;
    EXPECT_EQ(-1, LinePoints(INT_MIN, 0, INT_MAX, 0, nullptr));  // 2^32 + 1 points
    EXPECT_EQ(1, reports.Count());

    // Clipping cuts exactly or rejects.
    const QDRect box{0, 0, 10, 10}, far{INT_MAX - 10, INT_MIN, INT_MAX, INT_MIN + 10};
    struct {
        std::vector<int> line;
        QDRect rect;
        std::vector<int> clipped;  // empty: rejected
    } const cases[] = {
        {{-10, 5, 20, 5}, box, {0, 5, 9, 5}},
        {{5, 100, 5, -100}, box, {5, 9, 5, 0}},
        {{2, 3, 7, 8}, box, {2, 3, 7, 8}},
        {{-3, 0, 10, 13}, box, {0, 3, 6, 9}},    // leaves through the bottom
        {{-10, 0, 20, 9}, box, {0, 3, 9, 6}},    // 3.0 and 6.3, truncated
        {{-5, 3, 3, -5}, box, {}},               // misses the corner
        {{-5, 20, -1, -20}, box, {}},            // all left of it
        {{0, 0, 9, 9}, QDRect{5, 5, 5, 5}, {}},  // empty rectangle
        {{INT_MIN, INT_MIN, INT_MAX, INT_MAX}, box, {0, 0, 9, 9}},
        {{INT_MAX, 4, INT_MIN, 4}, box, {9, 4, 0, 4}},
        {{INT_MIN, INT_MAX, INT_MAX, INT_MIN},
         far,
         {INT_MAX - 9, INT_MIN + 9, INT_MAX - 1, INT_MIN + 1}},
        {{INT_MIN, INT_MIN, INT_MAX, INT_MIN + 9},
         far,
         {INT_MAX - 10, INT_MIN + 8, INT_MAX - 1, INT_MIN + 9}},
    };
    for (const auto& c : cases) {
        std::vector<int> p = c.line;
        if (!ClipLineToRect(p[0], p[1], p[2], p[3], c.rect)) p.clear();
        EXPECT_EQ(c.clipped, p) << c.line[0] << "," << c.line[1];
    }

    // Nearness of points, and the band around a line.
    ReportCapture geometryReports;
    const int lo = INT_MIN, hi = INT_MAX;
    // {x1, y1, x2, y2, px, py, tolerance, near}
    const std::vector<int> near[] = {
        {0, 0, 10, 0, 5, 1, 1, 1},
        {0, 0, 10, 0, 5, 2, 1, 0},
        {0, 0, 10, 0, 11, 0, 5, 0},
        {0, 0, 10, 0, 0, 0, 5, 0},  // the ends themselves are not between them
        {3, 3, 3, 3, 3, 3, 9, 0},
        {0, 0, 0, 10, -1, 5, 1, 1},
        {lo, lo, hi, hi, 0, 1, 0, 1},
        // (2^32 - 1) * 2^20 / floor((2^32 - 1) * sqrt 2) = 741455.2
        {lo, lo, hi, hi, 0, 1 << 20, 741455, 1},
        {lo, lo, hi, hi, 0, 1 << 20, 741454, 0},
        {0, 0, 1, 1, 0, 0, -1, 0}};
    for (const auto& c : near)
        EXPECT_EQ(c[7] != 0, IsPointNearLine(c[0], c[1], c[2], c[3], c[4], c[5], c[6])) << c[4];

    struct {
        int x1, y1, x2, y2, d;
        Points quad;
    } const bands[] = {
        {0, 0, 10, 0, 2, {{-2, 2}, {-2, -2}, {12, -2}, {12, 2}}},
        {0, 0, 0, 10, 3, {{3, -3}, {-3, -3}, {-3, 13}, {3, 13}}},
        {10, 10, 0, 0, 10, {{10, 17}, {24, 3}, {0, -7}, {-14, 7}}},
        {hi - 1, 0, hi, 0, 5, {{hi - 6, 5}, {hi - 6, -5}, {hi, -5}, {hi, 5}}},  // held at the limit
    };
    for (const auto& b : bands) {
        Points quad(4);
        ASSERT_TRUE(LineToRectangle(b.x1, b.y1, b.x2, b.y2, b.d, quad.data()));
        EXPECT_EQ(b.quad, quad) << b.x1;
    }
    QDPoint quad[4];
    EXPECT_FALSE(LineToRectangle(0, 0, 1, 1, 0, quad));
    EXPECT_EQ(2, geometryReports.Count());
}

}  // namespace
