#include "reduce.h"

#include <algorithm>

namespace {

// Tries without ever smaller runs of a list, as long as the fault shows.
template <typename List, typename Shows>
bool Shrink(List& list, const Shows& shows) {
    bool shrunk = false;
    for (std::size_t run = std::max<std::size_t>(list.size() / 2, 1); run > 0 && !list.empty(); run /= 2) {
        for (std::size_t begin = 0; begin < list.size();) {
            const List whole = list;
            const auto first = list.begin() + static_cast<std::ptrdiff_t>(begin);
            const auto left = static_cast<std::ptrdiff_t>(list.size() - begin);
            list.erase(first, first + std::min(left, static_cast<std::ptrdiff_t>(run)));
            if (shows()) {
                shrunk = true;
            } else {
                list = whole;
                begin += run;
            }
        }
    }
    return shrunk;
}

}  // namespace

Scene Reduce(Trials& trials, Scene scene, const std::string& kind) {
    const auto shows = [&] {
        const std::vector<Fault> faults = trials.Run(scene.things, ToXml(scene.document));
        return std::any_of(faults.begin(), faults.end(), [&](const Fault& fault) { return fault.kind == kind; });
    };
    for (bool shrunk = true; shrunk;) {
        shrunk = Shrink(scene.document, shows);
        for (Version& version : scene.document) {
            shrunk = Shrink(version.sections, shows) || shrunk;
            for (Section& section : version.sections) {
                shrunk = Shrink(section.elements, shows) || shrunk;
                for (Element& element : section.elements) {
                    shrunk = Shrink(element.attributes, shows) || shrunk;
                }
            }
            shrunk = Shrink(version.paths, shows) || shrunk;
        }
        shrunk = Shrink(scene.things, shows) || shrunk;
    }
    return scene;
}
