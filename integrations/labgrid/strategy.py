# SPDX-License-Identifier: Apache-2.0
"""A strategy for a module: off, or configured with the file that the environment names."""
import enum

import attr
from labgrid import step, target_factory
from labgrid.strategy import Strategy, StrategyError


class Status(enum.Enum):
    """What is known of the module."""

    UNKNOWN = "unknown"
    OFF = "off"  # nothing is expected of its FPGA
    CONFIGURED = "configured"


@target_factory.reg_driver
@attr.s(eq=False)
class KvnModuleStrategy(Strategy):
    """Loads the image that the environment has under this name."""

    bindings = {"module": "KvnModuleDriver", "power": {"PowerProtocol", None}}

    image = attr.ib(default="design")
    status = attr.ib(default=Status.UNKNOWN)

    @step(args=["status"])
    def transition(self, status, *, step):
        """Brings the module into a state: "off" or "configured"."""
        status = Status(status)
        if status == Status.UNKNOWN:
            raise StrategyError("a module is brought to off or configured")
        if status == self.status:
            step.skip("nothing to do")
            return
        if status == Status.OFF:
            self.switch("off")
            self.target.deactivate(self.module)
        else:
            self.switch("on")
            self.target.activate(self.module)
            self.module.load(self.target.env.config.get_image_path(self.image))
        self.status = status

    def switch(self, position):
        """Of the board's power, where a driver for it is bound."""
        if self.power:
            self.target.activate(self.power)
            getattr(self.power, position)()
