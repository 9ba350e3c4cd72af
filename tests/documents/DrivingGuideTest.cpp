// The test of docs/testing-your-application.md, taken from it while building.

#include "guide/MyDriveTest.h"
