// SPDX-License-Identifier: GPL-3.0-or-later
// SPDX-FileCopyrightText: 2026 The Power Analyzer developers
#pragma once
// messageTexts(), the texts of the messages a scripted interface was shown, is kept with the
// scripted interface.
#include "support/scripted_ui.h"
