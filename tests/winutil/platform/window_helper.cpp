// The other process of the window tests: a top-level window "Helper Top" of class
// "HelperClass" with a child "Helper Child"; prints both ids and waits to be killed.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <unistd.h>

#include <cstdio>

int main() {
    Display* d = XOpenDisplay(nullptr);
    if (!d) return 1;
    const Window root = DefaultRootWindow(d);
    const Window top = XCreateSimpleWindow(d, root, 600, 400, 300, 200, 0, 0, 0xFFFFFF);
    const Window child = XCreateSimpleWindow(d, top, 10, 10, 100, 50, 0, 0, 0xCCCCCC);
    XStoreName(d, top, "Helper Top");
    XStoreName(d, child, "Helper Child");
    XClassHint topClass{const_cast<char*>("helper"), const_cast<char*>("HelperClass")};
    XClassHint childClass{const_cast<char*>("helper"), const_cast<char*>("HelperChildClass")};
    XSetClassHint(d, top, &topClass);
    XSetClassHint(d, child, &childClass);
    const unsigned long pid = static_cast<unsigned long>(getpid());
    XChangeProperty(d, top, XInternAtom(d, "_NET_WM_PID", False), XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&pid), 1);
    XMapWindow(d, child);
    XMapWindow(d, top);
    XSync(d, False);
    printf("%lu %lu\n", top, child);
    fflush(stdout);
    for (;;) pause();
}
