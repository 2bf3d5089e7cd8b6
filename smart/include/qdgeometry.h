// The point and rectangle of the toolkits' geometry, laid out like the platform's
// POINT and RECT: a rectangle holds its left and top edges and excludes its right
// and bottom ones, so (0, 0, 2, 1) covers the two pixels (0, 0) and (1, 0).
#pragma once

struct QDPoint {
    int x;
    int y;
};

struct QDRect {
    int left;
    int top;
    int right;
    int bottom;
};

inline bool IsRectEmpty(const QDRect& r) {
    return r.right <= r.left || r.bottom <= r.top;
}

inline bool PtInRect(const QDRect& r, QDPoint p) {
    return p.x >= r.left && p.x < r.right && p.y >= r.top && p.y < r.bottom;
}

inline bool operator==(QDPoint a, QDPoint b) {
    return a.x == b.x && a.y == b.y;
}
inline bool operator==(const QDRect& a, const QDRect& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}
