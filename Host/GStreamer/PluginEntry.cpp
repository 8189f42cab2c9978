// The GStreamer plug-in's one entry: plugin_init registers an element for each bundle in the
// bundle folder. It is a firewall: nothing thrown reaches GStreamer; a bundle that cannot be read
// is left out with one line at level ERROR, and the plug-in still loads with the rest.
#include <gst/gst.h>

#include <exception>
#include <string>

#include "BundleFolder.h"
#include "EffectDescription.h"
#include "EffectElement.h"

#ifndef FXHOST_GST_BUNDLE_FOLDERS
#error "FXHOST_GST_BUNDLE_FOLDERS and FXHOST_GST_VERSION come from the build"
#endif

GST_DEBUG_CATEGORY(fxhost_gst_debug);
#define GST_CAT_DEFAULT fxhost_gst_debug

namespace {

gboolean pluginInit(GstPlugin* plugin) {
    GST_DEBUG_CATEGORY_INIT(fxhost_gst_debug, "fxhost", 0, "effect bundles as video filters");
    try {
        const fxhost::BundleFolder folder(FXHOST_GST_BUNDLE_FOLDERS);
        // GStreamer keeps what a plug-in registered in its registry cache; a bundle added to or
        // taken from the folder makes it load the plug-in again.
        gst_plugin_add_dependency_simple(plugin, nullptr, folder.tried().c_str(), ".plugin",
                                         GST_PLUGIN_DEPENDENCY_FLAG_FILE_NAME_IS_SUFFIX);
        if (folder.path().empty()) GST_WARNING("no bundle folder at %s", folder.tried().c_str());
        for (const std::string& bundle : folder.bundles()) {
            try {
                const std::string why =
                    fxhost::EffectElement::registerWith(plugin, fxhost::EffectDescription::read(bundle));
                if (!why.empty()) GST_ERROR("effect bundle '%s' not registered: %s", bundle.c_str(), why.c_str());
            } catch (const std::exception& e) {
                GST_ERROR("not registered: %s", e.what());
            } catch (...) {
                GST_ERROR("effect bundle '%s' not registered: unknown failure", bundle.c_str());
            }
        }
    } catch (const std::exception& e) {
        GST_ERROR("no effect registered: %s", e.what());
    } catch (...) {
        GST_ERROR("no effect registered: unknown failure");
    }
    return TRUE;
}

}  // namespace

// GStreamer looks up gst_plugin_fxhost_get_desc, from the file's name libgstfxhost.so; the rest of
// the plug-in is built hidden.
#define PACKAGE "fxhost"
#pragma GCC visibility push(default)
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, fxhost, "Effect bundles as video filters, through fxhost's core",
                  pluginInit, FXHOST_GST_VERSION, "Proprietary", "fxhost", "https://ostrivane.example")
#pragma GCC visibility pop
