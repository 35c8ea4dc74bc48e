// Whether somebody is watching.
#pragma once

bool ErrorsGoToTerminal();
