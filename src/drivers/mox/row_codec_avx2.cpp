// row_codec_avx2.cpp - the codings of integers with vectors of 32 bytes. Compiled for processors
// that have them.
#include "drivers/mox/row_coding.h"
#include "drivers/mox/vec_avx2.h"

namespace zor::mox {

constinit const RowCodec avx2_integers[3] = {integers<Avx2, 1>, integers<Avx2, 2>,
                                             integers<Avx2, 4>};

} // namespace zor::mox
