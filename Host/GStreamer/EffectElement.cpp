#include "EffectElement.h"

#include <gst/video/gstvideofilter.h>
#include <gst/video/video.h>

#include <exception>
#include <memory>
#include <utility>
#include <vector>

#include "BundleHosts.h"
#include "HostWorld.h"
#include "PackedPixels.h"

GST_DEBUG_CATEGORY_EXTERN(fxhost_gst_debug);
#define GST_CAT_DEFAULT fxhost_gst_debug

#ifndef FXHOST_GST_AUTHOR
#define FXHOST_GST_AUTHOR "Ostrivane"
#endif

namespace fxhost {

namespace {

struct ElementClass {
    GstVideoFilterClass parent;
    const EffectDescription* effect;
    GObjectClass* parentClass;
};

// What a C struct cannot hold: allocated in instance_init, deleted in finalize.
struct ElementState {
    std::vector<double> values;  // by slider, in the effect's units; read and written under the object lock
    std::unique_ptr<HostWorld> input;
    std::unique_ptr<HostWorld> output;
    bool acquired = false;
};

struct Element {
    GstVideoFilter parent;
    ElementState* state;
};

ElementClass* classOf(gpointer instance) {
    return reinterpret_cast<ElementClass*>(G_OBJECT_GET_CLASS(instance));
}

const EffectDescription& effectOf(gpointer instance) {
    return *classOf(instance)->effect;
}

ElementState& stateOf(gpointer instance) {
    return *static_cast<Element*>(instance)->state;
}

PackedPixels layoutOf(const GstVideoFrame& frame) {
    const GstVideoFormatInfo* info = frame.info.finfo;
    const int red = GST_VIDEO_FORMAT_INFO_POFFSET(info, 0);
    const int green = GST_VIDEO_FORMAT_INFO_POFFSET(info, 1);
    const int blue = GST_VIDEO_FORMAT_INFO_POFFSET(info, 2);
    const bool alpha = GST_VIDEO_FORMAT_INFO_HAS_ALPHA(info);
    // Four bytes, offsets 0 to 3: the padding byte of an RGBx-like format is the one left over.
    return PackedPixels(red, green, blue, alpha ? GST_VIDEO_FORMAT_INFO_POFFSET(info, 3) : 6 - red - green - blue, alpha);
}

void setProperty(GObject* object, guint id, const GValue* value, GParamSpec* param) {
    ElementState& state = stateOf(object);
    if (id == 0 || id > state.values.size()) {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
        return;
    }
    GST_OBJECT_LOCK(object);
    state.values[id - 1] = g_value_get_double(value);
    GST_OBJECT_UNLOCK(object);
}

void getProperty(GObject* object, guint id, GValue* value, GParamSpec* param) {
    ElementState& state = stateOf(object);
    if (id == 0 || id > state.values.size()) {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
        return;
    }
    GST_OBJECT_LOCK(object);
    g_value_set_double(value, state.values[id - 1]);
    GST_OBJECT_UNLOCK(object);
}

void release(gpointer instance) {
    ElementState& state = stateOf(instance);
    if (!state.acquired) return;
    state.acquired = false;
    try {
        BundleHosts::instance().release(effectOf(instance).bundle);
    } catch (const std::exception& e) {
        GST_ERROR_OBJECT(instance, "effect bundle '%s': %s", effectOf(instance).bundle.c_str(), e.what());
    } catch (...) {
    }
}

void finalize(GObject* object) {
    release(object);
    delete static_cast<Element*>(static_cast<gpointer>(object))->state;
    static_cast<Element*>(static_cast<gpointer>(object))->state = nullptr;
    classOf(object)->parentClass->finalize(object);
}

gboolean start(GstBaseTransform* transform) {
    ElementState& state = stateOf(transform);
    const std::string& bundle = effectOf(transform).bundle;
    if (state.acquired) return TRUE;
    std::string why;
    try {
        BundleHosts::instance().acquire(bundle);
        state.acquired = true;
        return TRUE;
    } catch (const std::exception& e) {
        why = e.what();
    } catch (...) {
        why = "unknown failure";
    }
    // acquire()'s reasons name the bundle already.
    GST_ELEMENT_ERROR(transform, LIBRARY, INIT, ("%s", why.c_str()), (nullptr));
    return FALSE;
}

gboolean stop(GstBaseTransform* transform) {
    release(transform);
    ElementState& state = stateOf(transform);
    state.input.reset();
    state.output.reset();
    return TRUE;
}

// GstBaseTransform leaves the controlled properties alone: they are brought to the frame's stream
// time here, before every frame (what GES keyframes and a GstController set).
void beforeTransform(GstBaseTransform* transform, GstBuffer* buffer) {
    const GstClockTime time = gst_segment_to_stream_time(&transform->segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
    if (GST_CLOCK_TIME_IS_VALID(time)) gst_object_sync_values(GST_OBJECT(transform), time);
}

GstFlowReturn transformFrame(GstVideoFilter* filter, GstVideoFrame* in, GstVideoFrame* out) {
    const EffectDescription& effect = effectOf(filter);
    std::string why;
    try {
        ElementState& state = stateOf(filter);
        // The values as the controller left them for this frame (beforeTransform).
        std::vector<std::pair<int, double>> values;
        GST_OBJECT_LOCK(filter);
        for (size_t i = 0; i < state.values.size(); ++i) values.emplace_back(effect.sliders[i].index, state.values[i]);
        GST_OBJECT_UNLOCK(filter);
        const int width = GST_VIDEO_FRAME_WIDTH(in), height = GST_VIDEO_FRAME_HEIGHT(in);
        HostWorld::ensure(state.input, width, height);
        HostWorld::ensure(state.output, width, height);
        layoutOf(*in).toWorld(static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(in, 0)),
                              GST_VIDEO_FRAME_PLANE_STRIDE(in, 0), *state.input);
        why = BundleHosts::instance().render(effect.bundle, values, *state.input, *state.output);
        if (why.empty()) {
            layoutOf(*out).fromWorld(*state.output, static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(out, 0)),
                                     GST_VIDEO_FRAME_PLANE_STRIDE(out, 0));
            return GST_FLOW_OK;
        }
    } catch (const std::exception& e) {
        why = e.what();
    } catch (...) {
        why = "unknown failure";
    }
    GST_ELEMENT_ERROR(filter, STREAM, FAILED,
                      ("effect bundle '%s' failed on the frame at %" GST_TIME_FORMAT ": %s", effect.bundle.c_str(),
                       GST_TIME_ARGS(GST_BUFFER_PTS(in->buffer)), why.c_str()),
                      (nullptr));
    return GST_FLOW_ERROR;
}

void classInit(gpointer klass, gpointer data) {
    auto* own = static_cast<ElementClass*>(klass);
    own->effect = static_cast<const EffectDescription*>(data);
    own->parentClass = static_cast<GObjectClass*>(g_type_class_peek_parent(klass));
    const EffectDescription& effect = *own->effect;

    GObjectClass* object = G_OBJECT_CLASS(klass);
    object->set_property = setProperty;
    object->get_property = getProperty;
    object->finalize = finalize;
    // Ids from 1, in the order of the effect's sliders; the description outlives the class.
    for (size_t i = 0; i < effect.sliders.size(); ++i) {
        const SliderDescription& s = effect.sliders[i];
        g_object_class_install_property(
            object, static_cast<guint>(i + 1),
            g_param_spec_double(s.property.c_str(), s.name.c_str(), s.blurb.c_str(), s.min, s.max, s.dflt,
                                static_cast<GParamFlags>(G_PARAM_READWRITE | GST_PARAM_CONTROLLABLE |
                                                         G_PARAM_STATIC_STRINGS)));
    }

    GstElementClass* element = GST_ELEMENT_CLASS(klass);
    gst_element_class_set_static_metadata(element, effect.name.c_str(), "Filter/Effect/Video",
                                          effect.about.empty() ? effect.name.c_str() : effect.about.c_str(),
                                          FXHOST_GST_AUTHOR);
    // The templates take references of their own.
    const std::unique_ptr<GstCaps, void (*)(GstCaps*)> caps(
        gst_caps_from_string(GST_VIDEO_CAPS_MAKE("{ RGBA, BGRA, ARGB, ABGR, RGBx, BGRx }")), gst_caps_unref);
    gst_element_class_add_pad_template(element, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, caps.get()));
    gst_element_class_add_pad_template(element, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps.get()));

    GstBaseTransformClass* transform = GST_BASE_TRANSFORM_CLASS(klass);
    transform->start = start;
    transform->stop = stop;
    transform->before_transform = beforeTransform;
    GST_VIDEO_FILTER_CLASS(klass)->transform_frame = transformFrame;
}

void instanceInit(GTypeInstance* instance, gpointer klass) {
    auto* element = reinterpret_cast<Element*>(instance);
    element->state = new ElementState;
    for (const SliderDescription& s : static_cast<ElementClass*>(klass)->effect->sliders)
        element->state->values.push_back(s.dflt);
}

}  // namespace

std::string EffectElement::registerWith(GstPlugin* plugin, const EffectDescription& description) {
    // GStreamer names instances after the type, without "Gst": ostrivanehueandsaturation0.
    const std::string typeName = "Gst" + description.elementName;
    if (g_type_from_name(typeName.c_str())) {
        return "an element named " + description.elementName + " is registered already";
    }
    // Kept for the life of the process: the class and its properties point into it.
    const auto* kept = new EffectDescription(description);
    GTypeInfo info = GTypeInfo();
    info.class_size = sizeof(ElementClass);
    info.class_init = classInit;
    info.class_data = kept;
    info.instance_size = sizeof(Element);
    info.instance_init = instanceInit;
    const GType type = g_type_register_static(GST_TYPE_VIDEO_FILTER, typeName.c_str(), &info, GTypeFlags(0));
    if (!type || !gst_element_register(plugin, kept->elementName.c_str(), GST_RANK_NONE, type)) {
        return "GStreamer refused the element " + description.elementName;
    }
    return "";
}

}  // namespace fxhost
