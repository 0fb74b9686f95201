#pragma once

#define IDI_APPLICATION_ICON 128
