#include "firmware/settings.h"

namespace firmware {

Settings InitialSettings(const Model& model) {
    Settings settings;
    settings.offset = model.bias;
    settings.shutter_open_ms = model.shutter_open_ms;
    settings.shutter_close_ms = model.shutter_close_ms;
    for (const FilterFeature& feature : model.filters) {
        settings.filter_values.emplace_back();
        for (const FilterParameter& parameter : feature.parameters)
            settings.filter_values.back().push_back(parameter.initial);
    }
    if (model.centroids) {
        settings.centroid_radius = model.centroids->max_radius;
        settings.centroid_count = model.centroids->max_count;
    }
    return settings;
}

}  // namespace firmware
