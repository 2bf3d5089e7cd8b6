// The self-made message box (its table, language and layout arithmetic, run as a
// GTK window) and the message dialog with replaced captions pinned to a corner.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "platform/gtkui.h"
#include "platform/xwin.h"
#include "qdr/qdassert.h"
#include "smartstr.h"
#include "wnddk.h"

const BoxButtonRow kBoxButtonTable[14] = {
    {1, {"Ok", "确定"}},     {20, {"Ok all", "全部确定"}},
    {2, {"Cancel", "取消"}}, {21, {"Cancel all", "全部取消"}},
    {3, {"Abort", "终止"}},  {22, {"Abort all", "全部终止"}},
    {4, {"Retry", "重试"}},  {23, {"Retry all", "全部重试"}},
    {5, {"Ignore", "忽略"}}, {24, {"Ignore all", "全部忽略"}},
    {6, {"Yes", "是"}},      {25, {"Yes all", "全是"}},
    {7, {"No", "否"}},       {26, {"No all", "全否"}},
};

namespace {

const char* const kFontNames[2] = {"System", "宋体"};
const char* const kSampleTexts[2] = {"AB", "字"};
constexpr int kButtonWidth = 75, kButtonHeight = 21, kButtonStep = 85, kMaxLines = 50;

// The bytes of at most `count` characters of UTF-8 from `p`, stopping at LF or NUL.
int LineBytes(const char* p, int count) {
    int bytes = 0;
    for (int chars = 0; chars < count && p[bytes] && p[bytes] != '\n'; ++chars) {
        ++bytes;
        while ((static_cast<unsigned char>(p[bytes]) & 0xC0) == 0x80) ++bytes;
    }
    return bytes;
}

std::atomic<bool> sBoxOpen{false};

void MeasureInFont(void* family, const std::string& line, int* width, int* height) {
    gtkui::MeasureText(static_cast<const char*>(family), line, width, height);
}

}  // namespace

int BoxLanguage() {
    static int language = -1;
    static std::once_flag once;
    std::call_once(once, [] {
        const char* names[] = {"LC_ALL", "LC_MESSAGES", "LANG"};
        const char* locale = "";
        for (const char* n : names) {
            const char* v = getenv(n);
            if (v && *v) {
                locale = v;
                break;
            }
        }
        language = strncmp(locale, "zh_CN", 5) == 0 ? 1 : 0;
    });
    return language;
}

BoxLayout LayoutMessageBox(uint32_t flags, const char* text, int defaultIndex, int language,
                           MeasureLine measure, void* context, const RECT& reference,
                           const RECT& screen) {
    BoxLayout layout{};
    int buttonsCount = 0, rowWidth = 0;
    for (int bit = 0; bit < 24; ++bit)
        if (flags & (1u << bit)) {
            ++buttonsCount;
            rowWidth += kButtonStep;
        }
    QDR_CHECK(buttonsCount > 0);

    int sampleWidth = 0, sampleHeight = 0;
    measure(context, kSampleTexts[language], &sampleWidth, &sampleHeight);
    layout.wrap = std::max(sampleWidth > 0 ? rowWidth / sampleWidth * 2 : 0, 100);

    int textWidth = 0, textHeight = 0;
    const char* const start = text ? text : "";
    const char* p = start;
    for (;;) {
        const int bytes = LineBytes(p, layout.wrap);
        int w = 0, h = 0;
        measure(context, bytes ? std::string(p, static_cast<size_t>(bytes)) : std::string("A"), &w,
                &h);
        if (!layout.lines.empty() || p != start) layout.lines.push_back('\n');
        layout.lines.append(p, static_cast<size_t>(bytes));
        textWidth = std::max(textWidth, w);
        textHeight += h;
        p += bytes;
        if (h > 0 && textHeight / h == kMaxLines) break;
        if (*p == '\n') ++p;
        if (!*p) break;
    }

    const int boxWidth = std::max(textWidth, rowWidth) + 40;
    const int boxHeight = textHeight + kButtonHeight + 40;
    const RECT& centre = (flags & kBoxCentreOnScreen) ? screen : reference;
    const int left = (centre.right - centre.left - boxWidth) / 2 + centre.left;
    const int top = (centre.bottom - centre.top - boxHeight) / 2 + centre.top;
    layout.box = RECT{left, top, left + boxWidth, top + boxHeight};

    int x = (boxWidth - (kButtonStep * buttonsCount - 10)) / 2;
    layout.focusIndex = 0;
    for (int bit = 0; bit < 14; ++bit) {
        if (!(flags & (1u << bit))) continue;
        if (static_cast<int>(layout.buttons.size()) == defaultIndex)
            layout.focusIndex = defaultIndex;
        layout.buttons.push_back(BoxLayout::Button{kBoxButtonTable[bit].id, x, textHeight + 20});
        x += kButtonStep;
    }
    const int labelLeft = (boxWidth - textWidth) / 2;
    layout.label = RECT{labelLeft, 10, labelLeft + textWidth, 10 + textHeight};
    return layout;
}

int HYMessageBox(HWND parent, const char* text, const char* caption, uint32_t flags,
                 int defaultIndex) {
    if (parent) QDR_CHECK(IsWindow(parent));
    bool idle = false;
    QDR_CHECK_OR_RETURN(sBoxOpen.compare_exchange_strong(idle, true), 0);
    if (!parent) parent = GetDefaultOwner();
    const int language = BoxLanguage();
    int result = 2;
    gtkui::RunOnGuiThread([&] {
        RECT screen{0, 0, 0, 0}, reference;
        {
            xwin::Session x;
            int w = 0, h = 0;
            if (x) x.ScreenSize(&w, &h);
            screen = RECT{0, 0, w, h};
            if (!parent || !x || !x.WindowRect(parent, &reference)) reference = screen;
        }
        const char* family = kFontNames[language];
        const BoxLayout layout =
            LayoutMessageBox(flags, text, defaultIndex, language, MeasureInFont,
                             const_cast<char*>(family), reference, screen);
        gtkui::BoxWindow box{
            parent, caption ? caption : "", text ? text : "", family, layout.box, layout.label,
            {},     layout.focusIndex};
        for (const BoxLayout::Button& b : layout.buttons) {
            for (const BoxButtonRow& row : kBoxButtonTable)
                if (row.id == b.id)
                    box.buttons.push_back(gtkui::BoxButton{b.id, row.text[language], b.x, b.y});
        }
        result = gtkui::RunBoxWindow(box);
    });
    sBoxOpen = false;
    return result;
}

POINT SiteCornerOffset(const MessageBoxSite& site, const RECT& box) {
    switch (site.corner) {
        case 1:
            return POINT{site.x - box.left, site.y - box.top};
        case 2:
            return POINT{site.x - box.right, site.y - box.top};
        case 3:
            return POINT{site.x - box.right, site.y - box.bottom};
        case 4:
            return POINT{site.x - box.left, site.y - box.bottom};
        default:
            return POINT{0, 0};
    }
}

int ShowSiteMessageBox(const MessageBoxSite* site, HWND owner, const char* text,
                       const char* caption, uint32_t style) {
    // A copy: the caller's record need not outlive the moment the box appears.
    MessageBoxSite local{};
    if (site) local = *site;
    std::string captions[7];
    for (int i = 0; i < 7; ++i)
        if (local.captions[i]) captions[i] = local.captions[i];
    int result = 0;
    gtkui::RunOnGuiThread([&] {
        result = gtkui::RunMessageDialog(owner, text ? text : "", caption ? caption : "", style,
                                         captions, [&local](const RECT& frame) {
                                             const POINT d = SiteCornerOffset(local, frame);
                                             return POINT{frame.left + d.x, frame.top + d.y};
                                         });
    });
    return result;
}

namespace {

// Both widths: the text is formatted in the caller's width, and the box takes UTF-8.
template <class CHAR>
int SiteMessageBoxT(const MessageBoxSite* site, HWND parent, uint32_t style, const CHAR* caption,
                    const CHAR* fmt, va_list args) {
    static const CHAR kNoText[1] = {0};
    SmartStrT<CHAR> formatted;
    formatted.FormatV(fmt ? fmt : kNoText, args);
    const SmartStr text(formatted.c_str(), formatted.Length());
    const SmartStr title(caption, -1);
    if (parent)
        QDR_CHECK(IsWindow(parent));
    else
        parent = GetDefaultOwner();
    {
        xwin::Session probe;  // no display: no box, and no broken precondition either
        if (!probe) return 0;
    }
    const int result = ShowSiteMessageBox(site, parent, text.c_str(),
                                          title.Length() ? title.c_str() : "Message", style);
    QDR_CHECK(result != 0);
    return result;
}

}  // namespace

int SiteMessageBoxV(const MessageBoxSite* site, HWND parent, uint32_t style, const char* caption,
                    const char* fmt, va_list args) {
    return SiteMessageBoxT(site, parent, style, caption, fmt, args);
}

int SiteMessageBoxV(const MessageBoxSite* site, HWND parent, uint32_t style,
                    const char16_t* caption, const char16_t* fmt, va_list args) {
    return SiteMessageBoxT(site, parent, style, caption, fmt, args);
}

int SiteMessageBox(const MessageBoxSite* site, HWND parent, uint32_t style, const char* caption,
                   const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int result = SiteMessageBoxV(site, parent, style, caption, fmt, args);
    va_end(args);
    return result;
}

int SiteMessageBox(const MessageBoxSite* site, HWND parent, uint32_t style, const char16_t* caption,
                   const char16_t* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int result = SiteMessageBoxV(site, parent, style, caption, fmt, args);
    va_end(args);
    return result;
}
