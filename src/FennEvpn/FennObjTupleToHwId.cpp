#include "FennEvpn/FennObjTupleToHwId.h"

namespace Fenn {

Qor::Ptr<ObjTupleToHwId> objTupleToHwIdFactory() { return Qor::Ptr<ObjTupleToHwId>(new ObjTupleToHwId); }

}  // namespace Fenn
