// The extension module _ostrana: the catalogue, descriptors and extension loading of the host
// library, the node behind each Python effect, and the processing call. The package ostrana
// builds its Python classes on it.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/audioeffects/TailTracker.h>
#include <ostrana/sdk/ExtensionManager.h>

#include "CatalogueConversion.h"
#include "DescriptorConversion.h"
#include "EffectCall.h"
#include "EffectNode.h"
#include "ModuleFunctions.h"
#include "ParameterConversion.h"

namespace py = pybind11;
using ostrana::extensions::audioeffects::TailTracker;
using ostrana::python::EffectCall;
using ostrana::python::EffectNode;
using ostrana::python::ModuleFunctions;

namespace {

// Hands the tail's output, a C-contiguous float32 (channels, frames) array, to the tracker,
// which may fade it in place.
std::size_t takeTail(TailTracker& tracker, EffectCall::Audio& output) {
    if (output.ndim() != 2) throw py::value_error("a tail's output is (channels, frames)");
    const auto channels = static_cast<unsigned int>(output.shape(0));
    const auto frames = static_cast<std::size_t>(output.shape(1));
    std::vector<float*> rows(channels);
    for (unsigned int channel = 0; channel < channels; ++channel) {
        rows[channel] = output.mutable_data() + channel * frames;
    }
    return tracker.take(rows.data(), channels, frames);
}

}  // namespace

PYBIND11_MODULE(_ostrana, module) {
    module.doc() = "The host library and the AudioEffects catalogue, for the package ostrana.";

    module.def("node_types", &ostrana::python::CatalogueConversion::nodeTypes,
               "Every node type of the AudioEffects catalogue, with its parameters, as dicts.");
    module.def("presets", &ostrana::python::CatalogueConversion::presets,
               "Every factory preset of the AudioEffects catalogue, as dicts.");
    module.def("type_names", &ModuleFunctions::typeNames,
               "The fully qualified names of every node type of every loaded extension.");
    module.def("describe", &ModuleFunctions::describe, py::arg("name"),
               "The descriptor of a node type of any loaded extension, as a dict.");
    module.def("load_extension", &ModuleFunctions::loadExtension, py::arg("path"),
               py::arg("soname"),
               "Loads an extension library (unless a library of its path or SONAME is loaded); "
               "returns the node type names it added.");

    py::class_<EffectNode>(module, "Node")
        .def(py::init<std::string>(), py::arg("type_name"))
        .def_property_readonly("type_name", &EffectNode::typeName)
        .def_property_readonly("in_catalogue",
                               [](const EffectNode& node) { return node.entry() != nullptr; })
        .def("get", &ModuleFunctions::getParameter, py::arg("name"))
        .def("set", &ModuleFunctions::setParameter, py::arg("name"), py::arg("value"),
             py::arg("allow_out_of_range") = false)
        .def("apply_preset", &EffectNode::applyPreset, py::arg("name"),
             "Applies the catalogue's preset of this name to the node.")
        .def(
            "quiet_seconds",
            [](EffectNode& node, unsigned int sampleRate) {
                return node.entry() == nullptr
                           ? TailTracker::kQuietSeconds
                           : TailTracker::quietSecondsAfter(*node.entry(), node.node(), sampleRate);
            },
            py::arg("sample_rate"),
            "The quiet stretch that ends an automatic tail after this node at sample_rate.")
        .def("renew",
             [](EffectNode& node) {
                 if (node.busy()) {
                     throw std::runtime_error(node.typeName() +
                                              " is processing in another call; one call at a time");
                 }
                 node.renew();
             })
        .def_property_readonly("busy", &EffectNode::busy)
        .def_property_readonly("input_address", &EffectNode::inputAddress,
                               "The address of the first input sample of the last call.");

    py::class_<TailTracker>(module, "TailTracker")
        .def_static("automatic", &TailTracker::automatic, py::arg("sample_rate"),
                    py::arg("longest_seconds"), py::arg("quiet_seconds"))
        .def_static("fixed", &TailTracker::fixed, py::arg("sample_rate"), py::arg("seconds"))
        .def("frames_to_feed", &TailTracker::framesToFeed, py::arg("max_frames"))
        .def("take", &takeTail, py::arg("output").noconvert(),
             "Takes the tail's next output frames, fading them in place where the tail is "
             "capped; returns how many belong to the tail.")
        .def_property_readonly("complete", &TailTracker::complete)
        .def_property_readonly("capped", &TailTracker::capped)
        .def_property_readonly("frames", &TailTracker::frames);

    module.def(
        "process",
        [](const std::vector<EffectNode*>& nodes, const EffectCall::Audio& audio,
           unsigned int sampleRate, unsigned int blockFrames, std::uint64_t position, bool reset) {
            return EffectCall::run(nodes, audio, {sampleRate, blockFrames, position, reset});
        },
        py::arg("nodes"), py::arg("audio").noconvert(), py::arg("sample_rate"),
        py::arg("block_size"), py::arg("position"), py::arg("reset"),
        "Runs the nodes in order over a C-contiguous float32 (channels, frames) array.");
}
