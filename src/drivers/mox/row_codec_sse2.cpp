// row_codec_sse2.cpp - the codings of integers with vectors of 16 bytes.
#include "drivers/mox/row_coding.h"
#include "drivers/mox/vec_sse2.h"

namespace zor::mox {

constinit const RowCodec sse2_integers[3] = {integers<Sse2, 1>, integers<Sse2, 2>,
                                             integers<Sse2, 4>};

} // namespace zor::mox
