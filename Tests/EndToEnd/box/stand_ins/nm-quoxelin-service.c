/* The tunnel of the box: NetworkManager's VPN plugin, with a real tunnel device that leads nowhere.
 *
 * Files in /run/stand-ins, for tests:
 *   tunnel.log        a line for each "connect" and "disconnect" that NetworkManager asks for
 *   tunnel-failures   how many of the next connects fail
 *   tunnel-holds      while it exists, connects do not finish
 */
#include <NetworkManager.h>
#include <arpa/inet.h>
#include <fcntl.h>
#include <glib-unix.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#define SERVICE "com.quoxelin.desktop.PacketTunnel"
#define FOLDER "/run/stand-ins/"

typedef struct {
    NMVpnServicePlugin parent;
    int device;
    char name[IFNAMSIZ];
    guint report;
} Tunnel;

typedef struct {
    NMVpnServicePluginClass parent;
} TunnelClass;

GType tunnel_get_type(void);
G_DEFINE_TYPE(Tunnel, tunnel, NM_TYPE_VPN_SERVICE_PLUGIN)

static void note(const char* what) {
    const int file = open(FOLDER "tunnel.log", O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (file < 0)
        return;
    if (write(file, what, strlen(what)) < 0)
        g_printerr("cannot note: %s", what);
    close(file);
}

static gboolean takes_a_failure(void) {
    gchar* text = NULL;
    if (!g_file_get_contents(FOLDER "tunnel-failures", &text, NULL, NULL))
        return FALSE;
    const gint64 left = g_ascii_strtoll(text, NULL, 10);
    g_free(text);
    if (left <= 0)
        return FALSE;
    text = g_strdup_printf("%" G_GINT64_FORMAT "\n", left - 1);
    g_file_set_contents(FOLDER "tunnel-failures", text, -1, NULL);
    g_free(text);
    return TRUE;
}

static void add(GVariantBuilder* builder, const char* key, GVariant* value) {
    g_variant_builder_add(builder, "{sv}", key, value);
}

static gboolean report_addresses(gpointer data) {
    Tunnel* tunnel = data;
    NMVpnServicePlugin* plugin = data;
    tunnel->report = 0;

    GVariantBuilder general;
    g_variant_builder_init(&general, G_VARIANT_TYPE_VARDICT);
    add(&general, NM_VPN_PLUGIN_CONFIG_TUNDEV, g_variant_new_string(tunnel->name));
    add(&general, NM_VPN_PLUGIN_CONFIG_EXT_GATEWAY, g_variant_new_uint32(inet_addr("192.0.2.1")));
    add(&general, NM_VPN_PLUGIN_CONFIG_MTU, g_variant_new_uint32(1280));
    add(&general, NM_VPN_PLUGIN_CONFIG_HAS_IP4, g_variant_new_boolean(TRUE));
    add(&general, NM_VPN_PLUGIN_CAN_PERSIST, g_variant_new_boolean(TRUE));
    nm_vpn_service_plugin_set_config(plugin, g_variant_builder_end(&general));

    const guint32 overlay[4] = {inet_addr("100.64.0.0"), 10, 0, 0};
    GVariantBuilder routes;
    g_variant_builder_init(&routes, G_VARIANT_TYPE("aau"));
    g_variant_builder_add_value(
        &routes, g_variant_new_fixed_array(G_VARIANT_TYPE_UINT32, overlay, 4, sizeof *overlay));
    GVariantBuilder ip4;
    g_variant_builder_init(&ip4, G_VARIANT_TYPE_VARDICT);
    add(&ip4, NM_VPN_PLUGIN_IP4_CONFIG_ADDRESS, g_variant_new_uint32(inet_addr("100.64.0.1")));
    add(&ip4, NM_VPN_PLUGIN_IP4_CONFIG_PREFIX, g_variant_new_uint32(32));
    add(&ip4, NM_VPN_PLUGIN_IP4_CONFIG_NEVER_DEFAULT, g_variant_new_boolean(TRUE));
    add(&ip4, NM_VPN_PLUGIN_IP4_CONFIG_ROUTES, g_variant_builder_end(&routes));
    /* After this NetworkManager considers the tunnel started. */
    nm_vpn_service_plugin_set_ip4_config(plugin, g_variant_builder_end(&ip4));
    return G_SOURCE_REMOVE;
}

static void close_device(Tunnel* tunnel) {
    if (tunnel->report != 0)
        g_source_remove(tunnel->report);
    tunnel->report = 0;
    if (tunnel->device >= 0)
        close(tunnel->device);
    tunnel->device = -1;
}

static gboolean go_up(NMVpnServicePlugin* plugin, NMConnection* connection, GError** error) {
    (void)connection;
    Tunnel* tunnel = (Tunnel*)plugin;
    note("connect\n");
    if (takes_a_failure()) {
        g_set_error(error, NM_VPN_PLUGIN_ERROR, NM_VPN_PLUGIN_ERROR_LAUNCH_FAILED,
                    "the test wants a failure");
        return FALSE;
    }
    struct ifreq request = {.ifr_flags = IFF_TUN | IFF_NO_PI};
    strcpy(request.ifr_name, "quoxelin%d");
    close_device(tunnel);
    tunnel->device = open("/dev/net/tun", O_RDWR | O_CLOEXEC);
    if (tunnel->device < 0 || ioctl(tunnel->device, TUNSETIFF, &request) < 0) {
        g_set_error(error, NM_VPN_PLUGIN_ERROR, NM_VPN_PLUGIN_ERROR_LAUNCH_FAILED,
                    "no tunnel device: %s", g_strerror(errno));
        close_device(tunnel);
        return FALSE;
    }
    strcpy(tunnel->name, request.ifr_name);
    if (!g_file_test(FOLDER "tunnel-holds", G_FILE_TEST_EXISTS))
        tunnel->report = g_idle_add(report_addresses, tunnel);
    return TRUE;
}

static gboolean need_secrets(NMVpnServicePlugin* plugin, NMConnection* connection,
                             const char** setting, GError** error) {
    (void)plugin, (void)connection, (void)setting, (void)error;
    return FALSE;
}

static gboolean go_down(NMVpnServicePlugin* plugin, GError** error) {
    (void)error;
    note("disconnect\n");
    close_device((Tunnel*)plugin);
    return TRUE;
}

static void tunnel_init(Tunnel* tunnel) {
    tunnel->device = -1;
}

static void tunnel_class_init(TunnelClass* type) {
    NMVpnServicePluginClass* plugin = NM_VPN_SERVICE_PLUGIN_CLASS(type);
    plugin->connect = go_up;
    plugin->disconnect = go_down;
    plugin->need_secrets = need_secrets;
}

static void manager_vanished(GDBusConnection* bus, const gchar* name, gpointer tunnel) {
    (void)bus, (void)name;
    nm_vpn_service_plugin_disconnect(NM_VPN_SERVICE_PLUGIN(tunnel), NULL);
}

static gboolean quit(gpointer loop) {
    g_main_loop_quit(loop);
    return G_SOURCE_CONTINUE;
}

int main(void) {
    GError* error = NULL;
    GMainLoop* loop = g_main_loop_new(NULL, FALSE);
    Tunnel* tunnel = g_initable_new(tunnel_get_type(), NULL, &error,
                                    NM_VPN_SERVICE_PLUGIN_DBUS_SERVICE_NAME, SERVICE,
                                    NM_VPN_SERVICE_PLUGIN_DBUS_WATCH_PEER, FALSE, NULL);
    if (tunnel == NULL) {
        g_printerr("nm-quoxelin-service: %s\n", error->message);
        return 1;
    }
    g_signal_connect_swapped(tunnel, "quit", G_CALLBACK(g_main_loop_quit), loop);
    g_bus_watch_name(G_BUS_TYPE_SYSTEM, NM_DBUS_SERVICE, G_BUS_NAME_WATCHER_FLAGS_NONE, NULL,
                     manager_vanished, tunnel, NULL);
    g_unix_signal_add(SIGTERM, quit, loop);
    g_main_loop_run(loop);
    nm_vpn_service_plugin_shutdown(NM_VPN_SERVICE_PLUGIN(tunnel));
    g_object_unref(tunnel);
    g_main_loop_unref(loop);
    return 0;
}
