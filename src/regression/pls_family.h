#pragma once

#include "core/family.h"
#include "regression/pls_model.h"
#include "validation/validation.h"

namespace veldane {

/// The model and the validation that the PLS_ functions speak of.
extern Family<CPLSModel, CPCRValidation> pls;

}  // namespace veldane
