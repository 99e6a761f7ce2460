#pragma once

// Read by the resource compiler, too.
#define RECONCILE_PAGE 101
