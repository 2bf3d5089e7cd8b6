// The printer dialog: GTK's print dialog, on the default display.
#include <gtk/gtk.h>
#include <gtk/gtkunixprint.h>

#include <cstdio>
#include <cstdlib>

#include "printos.h"

namespace printos {

int ChoosePrinter(char* name, int capacity) {
    const char* display = getenv("DISPLAY");
    if (!display || !*display || !gtk_init_check(nullptr, nullptr)) return -1;
    GtkWidget* dialog = gtk_print_unix_dialog_new("Print", nullptr);
    gtk_print_unix_dialog_set_manual_capabilities(GTK_PRINT_UNIX_DIALOG(dialog),
                                                  GtkPrintCapabilities(0));
    const gint answer = gtk_dialog_run(GTK_DIALOG(dialog));
    GtkPrinter* printer = gtk_print_unix_dialog_get_selected_printer(GTK_PRINT_UNIX_DIALOG(dialog));
    const bool chosen = answer == GTK_RESPONSE_OK && printer &&
                        snprintf(name, static_cast<size_t>(capacity), "%s",
                                 gtk_printer_get_name(printer)) < capacity;
    gtk_widget_destroy(dialog);
    while (gtk_events_pending()) gtk_main_iteration();
    return chosen ? 1 : 0;
}

}  // namespace printos
