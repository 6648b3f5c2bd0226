// What the tool does before anything else, as it may run as root on behalf of any user.
#pragma once

/// Empties the environment, closes every descriptor but the three standard ones, makes sure that these are
/// open, leaves the inherited working directory and sets a private umask. False when one of the descriptors
/// could not be secured.
bool hardenProcess();
