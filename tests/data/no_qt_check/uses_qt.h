// Fixture for the check that keeps Qt out of the core: this file must be caught.
#pragma once
#include <QString>
