#include "Platform/Linux/Services/BusThread.h"

#include <glib.h>

namespace quoxelin {

struct BusThread::Loop {
    ~Loop() {
        g_main_loop_unref(loop);
        g_main_context_unref(context);
    }

    GMainContext* const context = g_main_context_new();
    GMainLoop* const loop = g_main_loop_new(context, FALSE);
};

BusThread::BusThread() : loop(std::make_unique<Loop>()) {
    thread = std::thread([&loop = *loop] {
        g_main_context_push_thread_default(loop.context);
        g_main_loop_run(loop.loop);
        g_main_context_pop_thread_default(loop.context);
    });
}

BusThread::~BusThread() {
    // From within the loop: one that does not run yet would miss it.
    perform([this] { g_main_loop_quit(loop->loop); });
    thread.join();
}

void BusThread::perform(std::function<void()> work) {
    using Work = std::function<void()>;
    GSource* const source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(
        source,
        [](gpointer data) -> gboolean {
            (*static_cast<Work*>(data))();
            return G_SOURCE_REMOVE;
        },
        new Work(std::move(work)), [](gpointer data) { delete static_cast<Work*>(data); });
    g_source_attach(source, loop->context);
    g_source_unref(source);
}

} // namespace quoxelin
