// Names of the vectors that kernels of the rasterizer work on: as many lanes of 32 bits as the instruction set has.
// Included once per target by files that Highway compiles for several.
#if defined(ORNOLITH_RASTER_VECTORTYPES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORNOLITH_RASTER_VECTORTYPES_INL_H_
#undef ORNOLITH_RASTER_VECTORTYPES_INL_H_
#else
#define ORNOLITH_RASTER_VECTORTYPES_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;
using Integers = hn::RebindToSigned<Floats>;
using Bits = hn::RebindToUnsigned<Floats>;
using FloatVector = hn::Vec<Floats>;
using IntegerVector = hn::Vec<Integers>;
using BitVector = hn::Vec<Bits>;
using FloatMask = hn::Mask<Floats>;
using IntegerMask = hn::Mask<Integers>;

}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
