// The general utilities, one header per subject.
#pragma once

#include "core/net/util_ip.h"
#include "core/util/util_block.h"
#include "core/util/util_mime.h"
#include "core/util/util_misc.h"
#include "core/util/util_path.h"
#include "core/util/util_random.h"
#include "core/util/util_sort.h"
#include "core/util/util_time.h"
#include "core/util/util_url.h"
#include "core/util/util_version.h"
