// SPDX-License-Identifier: Apache-2.0
#include "frame/frame_targets.h"

namespace Kivo {

// One line for each target that CMake may build.
namespace Baseline {
extern const FrameKernels c_sFrameKernels;
}
#ifdef KIVO_HAVE_SSE41
namespace Sse41 {
extern const FrameKernels c_sFrameKernels;
}
#endif
#ifdef KIVO_HAVE_AVX2
namespace Avx2 {
extern const FrameKernels c_sFrameKernels;
}
#endif
#ifdef KIVO_HAVE_AVX512
namespace Avx512 {
extern const FrameKernels c_sFrameKernels;
}
#endif
#ifdef KIVO_HAVE_NEON
namespace Neon {
extern const FrameKernels c_sFrameKernels;
}
#endif

const FrameKernels *TargetFrameKernels(Target eTarget) noexcept {
  switch (eTarget) {
    case Target::Baseline:
      return &Baseline::c_sFrameKernels;
#ifdef KIVO_HAVE_SSE41
    case Target::Sse41:
      return &Sse41::c_sFrameKernels;
#endif
#ifdef KIVO_HAVE_AVX2
    case Target::Avx2:
      return &Avx2::c_sFrameKernels;
#endif
#ifdef KIVO_HAVE_AVX512
    case Target::Avx512:
      return &Avx512::c_sFrameKernels;
#endif
#ifdef KIVO_HAVE_NEON
    case Target::Neon:
      return &Neon::c_sFrameKernels;
#endif
    default:
      return nullptr;
  }
}

const FrameKernels &ActiveFrameKernels() noexcept {
  return *TargetFrameKernels(ActiveTarget());
}

}  // namespace Kivo
