#include "process/DockerCLI.h"
