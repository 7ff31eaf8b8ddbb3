// The wiring of the rooms: hands the tables and doors of the higher rooms to the lower ones that call through them.
#pragma once

/// Does it once per process.
void rx_install();
