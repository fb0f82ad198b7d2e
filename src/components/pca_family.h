#pragma once

#include "components/pcr_model.h"
#include "core/family.h"
#include "validation/validation.h"

namespace veldane {

/// The model and the validation that the PCA_ functions speak of.
extern Family<CPCRModel, CPCRValidation> pca;

}  // namespace veldane
