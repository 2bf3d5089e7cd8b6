// GTK 3 on its X11 backend: the GUI thread, the laid-out box, the message dialog,
// the file chooser and the clipboard.
#include "platform/gtkui.h"

#include <gdk/gdkkeysyms.h>
#include <gdk/gdkx.h>
#include <gtk/gtk.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/xwin.h"

namespace gtkui {
namespace {

std::mutex gStartLock;
bool gOwnThreadStarted = false;
bool gOwnThreadReady = false;
bool gGtkOk = false;
std::condition_variable gStarted;

// GTK opens its display while no other connection opens or closes (xwin.h).
bool InitGtk() {
    const std::unique_lock<std::mutex> one = xwin::ConnectionGuard();
    return gtk_init_check(nullptr, nullptr);
}

void OwnGuiThread() {
    GMainContext* context = g_main_context_default();
    const bool ok = g_main_context_acquire(context) && InitGtk();
    {
        std::lock_guard<std::mutex> guard(gStartLock);
        gGtkOk = ok;
        gOwnThreadReady = true;
    }
    gStarted.notify_all();
    if (!ok) return;
    GMainLoop* loop = g_main_loop_new(context, FALSE);
    g_main_loop_run(loop);  // for the life of the process
}

struct Job {
    const std::function<void()>* work;
    std::mutex lock;
    std::condition_variable doneSignal;
    bool done = false;
};

gboolean RunJob(gpointer data) {
    Job* job = static_cast<Job*>(data);
    (*job->work)();
    std::lock_guard<std::mutex> guard(job->lock);
    job->done = true;
    job->doneSignal.notify_all();
    return G_SOURCE_REMOVE;
}

GdkWindow* ForeignWindow(HWND window) {
    if (!window) return nullptr;
    return gdk_x11_window_foreign_new_for_display(gdk_display_get_default(), window);
}

// Modal over `parent` (an X window of any program) once realised.
void SetOwner(GtkWidget* widget, HWND parent) {
    gtk_window_set_modal(GTK_WINDOW(widget), TRUE);
    if (!parent) return;
    gtk_widget_realize(widget);
    GdkWindow* owner = ForeignWindow(parent);
    if (!owner) return;
    gdk_window_set_transient_for(gtk_widget_get_window(widget), owner);
    g_object_unref(owner);
}

PangoAttrList* FontAttributes(const std::string& family) {
    PangoFontDescription* font = pango_font_description_new();
    pango_font_description_set_family(font, family.c_str());
    // A character cell 16 pixels high holds a 12-pixel em.
    pango_font_description_set_absolute_size(font, 12 * PANGO_SCALE);
    PangoAttrList* list = pango_attr_list_new();
    pango_attr_list_insert(list, pango_attr_font_desc_new(font));
    pango_font_description_free(font);
    return list;
}

struct BoxRun {
    GMainLoop* loop;
    int result;
};

void EndBox(BoxRun* run, int result) {
    run->result = result;
    g_main_loop_quit(run->loop);
}

void OnBoxButton(GtkButton* button, gpointer data) {
    EndBox(static_cast<BoxRun*>(data),
           GPOINTER_TO_INT(g_object_get_data(G_OBJECT(button), "qd-id")));
}

gboolean OnBoxKey(GtkWidget*, GdkEventKey* event, gpointer data) {
    if (event->keyval != GDK_KEY_Escape) return FALSE;
    EndBox(static_cast<BoxRun*>(data), 2);
    return TRUE;
}

gboolean OnBoxDelete(GtkWidget*, GdkEvent*, gpointer data) {
    EndBox(static_cast<BoxRun*>(data), 2);
    return TRUE;
}

}  // namespace

bool RunOnGuiThread(const std::function<void()>& job) {
    if (!xwin::DisplayNamed()) return false;
    {
        // A server that went away fails here, not inside GTK; and Xlib's threads are on
        // before GTK starts.
        xwin::Session probe;
        if (!probe) return false;
    }
    GMainContext* context = g_main_context_default();
    if (g_main_context_is_owner(context)) {
        if (!InitGtk()) return false;
        job();
        return true;
    }
    {
        std::unique_lock<std::mutex> guard(gStartLock);
        if (!gOwnThreadStarted && g_main_context_acquire(context)) {
            // Nobody runs the default context: it becomes the library's GUI thread's.
            g_main_context_release(context);
            gOwnThreadStarted = true;
            std::thread(OwnGuiThread).detach();
        }
        if (gOwnThreadStarted) {
            gStarted.wait(guard, [] { return gOwnThreadReady; });
            if (!gGtkOk) return false;
        }
    }
    Job run;
    run.work = &job;
    g_main_context_invoke(context, RunJob, &run);
    std::unique_lock<std::mutex> guard(run.lock);
    run.doneSignal.wait(guard, [&run] { return run.done; });
    return true;
}

void MeasureText(const char* family, const std::string& text, int* width, int* height) {
    PangoFontMap* map = pango_cairo_font_map_get_default();
    PangoContext* context = pango_font_map_create_context(map);
    PangoLayout* layout = pango_layout_new(context);
    PangoAttrList* attributes = FontAttributes(family);
    pango_layout_set_attributes(layout, attributes);
    pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
    pango_layout_get_pixel_size(layout, width, height);
    pango_attr_list_unref(attributes);
    g_object_unref(layout);
    g_object_unref(context);
}

int RunBoxWindow(const BoxWindow& spec) {
    BoxRun run{g_main_loop_new(nullptr, FALSE), 2};
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(window), spec.caption.c_str());
    gtk_window_set_type_hint(GTK_WINDOW(window), GDK_WINDOW_TYPE_HINT_DIALOG);
    gtk_window_set_resizable(GTK_WINDOW(window), FALSE);
    gtk_widget_set_size_request(window, spec.box.right - spec.box.left,
                                spec.box.bottom - spec.box.top);
    gtk_window_move(GTK_WINDOW(window), spec.box.left, spec.box.top);
    SetOwner(window, spec.parent);

    GtkWidget* fixed = gtk_fixed_new();
    gtk_container_add(GTK_CONTAINER(window), fixed);
    PangoAttrList* attributes = FontAttributes(spec.family);
    GtkWidget* label = gtk_label_new(spec.text.c_str());
    gtk_label_set_attributes(GTK_LABEL(label), attributes);
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_label_set_yalign(GTK_LABEL(label), 0);
    GtkWidget* clip = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(clip), GTK_POLICY_EXTERNAL,
                                   GTK_POLICY_EXTERNAL);
    gtk_widget_set_size_request(clip, spec.label.right - spec.label.left,
                                spec.label.bottom - spec.label.top);
    gtk_container_add(GTK_CONTAINER(clip), label);
    gtk_fixed_put(GTK_FIXED(fixed), clip, spec.label.left, spec.label.top);
    // The theme's padding would make the buttons larger than the layout's 75 by 21.
    GtkCssProvider* css = gtk_css_provider_new();
    gtk_css_provider_load_from_data(css, "button { padding: 0 2px; min-height: 0; min-width: 0; }",
                                    -1, nullptr);
    std::vector<GtkWidget*> buttons;
    for (const BoxButton& b : spec.buttons) {
        GtkWidget* button = gtk_button_new_with_label(b.label.c_str());
        gtk_label_set_attributes(GTK_LABEL(gtk_bin_get_child(GTK_BIN(button))), attributes);
        gtk_widget_set_size_request(button, 75, 21);
        gtk_style_context_add_provider(gtk_widget_get_style_context(button),
                                       GTK_STYLE_PROVIDER(css),
                                       GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
        g_object_set_data(G_OBJECT(button), "qd-id", GINT_TO_POINTER(b.id));
        g_signal_connect(button, "clicked", G_CALLBACK(OnBoxButton), &run);
        gtk_fixed_put(GTK_FIXED(fixed), button, b.x, b.y);
        buttons.push_back(button);
    }
    pango_attr_list_unref(attributes);
    g_object_unref(css);
    g_signal_connect(window, "key-press-event", G_CALLBACK(OnBoxKey), &run);
    g_signal_connect(window, "delete-event", G_CALLBACK(OnBoxDelete), &run);
    gtk_widget_show_all(window);
    if (spec.focusIndex >= 0 && spec.focusIndex < static_cast<int>(buttons.size())) {
        // Focused and the window's default: Enter answers with it even before the
        // window manager has given the box the focus.
        GtkWidget* focus = buttons[spec.focusIndex];
        gtk_widget_set_can_default(focus, TRUE);
        gtk_window_set_default(GTK_WINDOW(window), focus);
        gtk_window_set_focus(GTK_WINDOW(window), focus);
    }
    gdk_display_beep(gdk_display_get_default());
    g_main_loop_run(run.loop);
    gtk_widget_destroy(window);
    g_main_loop_unref(run.loop);
    return run.result;
}

namespace {

struct DialogRun {
    std::function<POINT(const RECT&)> place;
};

gboolean PlaceDialog(GtkWidget* widget, GdkEvent*, gpointer data) {
    DialogRun* run = static_cast<DialogRun*>(data);
    GdkRectangle frame;
    gdk_window_get_frame_extents(gtk_widget_get_window(widget), &frame);
    const POINT to =
        run->place(RECT{frame.x, frame.y, frame.x + frame.width, frame.y + frame.height});
    if (to.x != frame.x || to.y != frame.y) gtk_window_move(GTK_WINDOW(widget), to.x, to.y);
    return FALSE;
}

}  // namespace

int RunMessageDialog(HWND owner, const std::string& text, const std::string& caption,
                     unsigned style, const std::string captions[7],
                     const std::function<POINT(const RECT& frame)>& place) {
    // The buttons of each MB_* type, as ids 1..7.
    static const std::vector<int> kTypes[] = {{1}, {1, 2}, {3, 4, 5}, {6, 7, 2}, {6, 7}, {4, 2}};
    static const char* const kNames[] = {"OK", "Cancel", "Abort", "Retry", "Ignore", "Yes", "No"};
    const unsigned type = style & 0xF;
    const std::vector<int>& ids = kTypes[type < 6 ? type : 0];
    GtkMessageType icon = GTK_MESSAGE_OTHER;
    switch (style & 0xF0) {
        case 0x10:
            icon = GTK_MESSAGE_ERROR;
            break;
        case 0x20:
            icon = GTK_MESSAGE_QUESTION;
            break;
        case 0x30:
            icon = GTK_MESSAGE_WARNING;
            break;
        case 0x40:
            icon = GTK_MESSAGE_INFO;
            break;
    }
    GtkWidget* dialog = gtk_message_dialog_new(nullptr, GTK_DIALOG_MODAL, icon, GTK_BUTTONS_NONE,
                                               "%s", text.c_str());
    gtk_window_set_title(GTK_WINDOW(dialog), caption.c_str());
    for (int id : ids)
        gtk_dialog_add_button(GTK_DIALOG(dialog),
                              captions[id - 1].empty() ? kNames[id - 1] : captions[id - 1].c_str(),
                              id);
    const size_t defaultButton = (style >> 8) & 0xF;
    const int defaultId = ids[defaultButton < ids.size() ? defaultButton : 0];
    gtk_dialog_set_default_response(GTK_DIALOG(dialog), defaultId);
    gtk_widget_grab_focus(gtk_dialog_get_widget_for_response(GTK_DIALOG(dialog), defaultId));
    SetOwner(dialog, owner);
    DialogRun run{place};
    g_signal_connect(dialog, "map-event", G_CALLBACK(PlaceDialog), &run);
    int answer = gtk_dialog_run(GTK_DIALOG(dialog));
    gtk_widget_destroy(dialog);
    if (answer <= 0) {  // Esc or the close box: Cancel where there is one, else the only button
        bool hasCancel = false;
        for (int id : ids) hasCancel = hasCancel || id == 2;
        answer = hasCancel || ids.size() > 1 ? 2 : ids[0];
    }
    return answer;
}

bool RunFileChooser(const Chooser& spec, std::vector<std::string>* paths, int* filterIndex) {
    static const GtkFileChooserAction kActions[] = {GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER,
                                                    GTK_FILE_CHOOSER_ACTION_OPEN,
                                                    GTK_FILE_CHOOSER_ACTION_SAVE};
    GtkWidget* dialog = gtk_file_chooser_dialog_new(
        spec.title.c_str(), nullptr, kActions[spec.kind], "_Cancel", GTK_RESPONSE_CANCEL,
        spec.kind == kChooseSave ? "_Save" : "_Open", GTK_RESPONSE_ACCEPT, nullptr);
    GtkFileChooser* chooser = GTK_FILE_CHOOSER(dialog);
    gtk_dialog_set_default_response(GTK_DIALOG(dialog), GTK_RESPONSE_ACCEPT);
    if (!spec.prompt.empty())
        gtk_file_chooser_set_extra_widget(chooser, gtk_label_new(spec.prompt.c_str()));
    gtk_file_chooser_set_select_multiple(chooser, spec.multiSelect);
    gtk_file_chooser_set_do_overwrite_confirmation(chooser, spec.kind == kChooseSave);
    gtk_file_chooser_set_local_only(chooser, TRUE);
    std::vector<GtkFileFilter*> filters;
    for (const auto& f : spec.filters) {
        GtkFileFilter* filter = gtk_file_filter_new();
        gtk_file_filter_set_name(filter, f.first.c_str());
        for (size_t b = 0; b <= f.second.size();) {
            size_t e = f.second.find(';', b);
            if (e == std::string::npos) e = f.second.size();
            if (e > b) gtk_file_filter_add_pattern(filter, f.second.substr(b, e - b).c_str());
            b = e + 1;
        }
        gtk_file_chooser_add_filter(chooser, filter);
        filters.push_back(filter);
    }
    if (spec.filterIndex >= 1 && spec.filterIndex <= static_cast<int>(filters.size()))
        gtk_file_chooser_set_filter(chooser, filters[spec.filterIndex - 1]);
    if (!spec.startDir.empty()) gtk_file_chooser_set_current_folder(chooser, spec.startDir.c_str());
    // A save dialog always gets a name, an empty one too, so that its entry has the focus.
    if (spec.kind == kChooseSave)
        gtk_file_chooser_set_current_name(chooser, spec.name.c_str());
    else if (spec.name.find('/') != std::string::npos)
        gtk_file_chooser_select_filename(chooser, spec.name.c_str());
    SetOwner(dialog, spec.parent);
    const bool accepted = gtk_dialog_run(GTK_DIALOG(dialog)) == GTK_RESPONSE_ACCEPT;
    paths->clear();
    if (accepted) {
        GSList* names = gtk_file_chooser_get_filenames(chooser);
        for (GSList* n = names; n; n = n->next) {
            paths->push_back(static_cast<char*>(n->data));
            g_free(n->data);
        }
        g_slist_free(names);
        GtkFileFilter* used = gtk_file_chooser_get_filter(chooser);
        for (size_t i = 0; i < filters.size(); ++i)
            if (filters[i] == used && filterIndex) *filterIndex = static_cast<int>(i) + 1;
    }
    gtk_widget_destroy(dialog);
    return accepted && !paths->empty();
}

bool SetClipboardText(const char* text, int length) {
    std::string copy(text, static_cast<size_t>(length));
    return RunOnGuiThread([&copy] {
        GtkClipboard* clipboard = gtk_clipboard_get(GDK_SELECTION_CLIPBOARD);
        gtk_clipboard_set_text(clipboard, copy.c_str(), static_cast<int>(copy.size()));
        gtk_clipboard_store(clipboard);
    });
}

std::string ClipboardText() {
    std::string text;
    RunOnGuiThread([&text] {
        gchar* got = gtk_clipboard_wait_for_text(gtk_clipboard_get(GDK_SELECTION_CLIPBOARD));
        if (got) text = got;
        g_free(got);
    });
    return text;
}

}  // namespace gtkui
