#pragma once

#include <memory>
#include <new>

#include "core/descriptor.h"

namespace veldane {

struct NoValidation {};

/// What an export returns when its family has no model, or a required array is null.
constexpr int noModel = -1;

/// The one model of a family and, where it has one, the validation object. The family's exports
/// test the model first. A fresh model leaves the validation of the one before in place.
template <class Model, class Validation = NoValidation>
struct Family {
    std::unique_ptr<Model> model;
    std::unique_ptr<Validation> validation;

    int init() {
        model.reset();
        model.reset(new (std::nothrow) Model);
        return 0;
    }

    void terminate() {
        model.reset();
        validation.reset();
    }

    /// Hands out an array that the model keeps.
    int handOut(FMatrix Model::*field, ArrayDesc* out) const {
        if (!model) return noModel;
        matrixToDesc((*model).*field, out);
        return 0;
    }
    int handOut(FCube Model::*field, ArrayDesc* out) const {
        if (!model) return noModel;
        cubeToDesc((*model).*field, out);
        return 0;
    }
};

}  // namespace veldane
