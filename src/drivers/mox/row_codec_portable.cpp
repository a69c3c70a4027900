// row_codec_portable.cpp - the codings of integers in plain C++.
#include "drivers/mox/row_coding.h"
#include "drivers/mox/vec_portable.h"

namespace zor::mox {

constinit const RowCodec portable_integers[3] = {integers<Portable, 1>, integers<Portable, 2>,
                                                 integers<Portable, 4>};

} // namespace zor::mox
