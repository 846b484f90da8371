// The general utilities, one header per subject.
#pragma once

#include "core/util_block.h"
#include "core/util_ip.h"
#include "core/util_mime.h"
#include "core/util_misc.h"
#include "core/util_path.h"
#include "core/util_random.h"
#include "core/util_sort.h"
#include "core/util_time.h"
#include "core/util_url.h"
#include "core/util_version.h"
