#include "platform/MPICallback.h"

MPICallbackBase::~MPICallbackBase() = default;
