# SPDX-License-Identifier: Apache-2.0
"""labgrid's resource and driver for a module: an environment imports it by the name kvn_labgrid.

Needs labgrid and the program kvn, which are no part of this package.
"""
from __future__ import annotations

import json
import shlex
import subprocess
from typing import Any

import attr
from labgrid import step, target_factory
from labgrid.driver import Driver
from labgrid.resource.common import NetworkResource, Resource

from kvn.errors import KvnError, error_class
from kvn.results import Identity, Record, from_document


@target_factory.reg_resource
@attr.s(eq=False)
class KvnModule(Resource):
    """A module of this host: "mwc4a:0/1". Provider and rack are those of kvn's options; None: the host's own."""

    module: str = attr.ib(validator=attr.validators.instance_of(str))
    provider: str | None = attr.ib(default=None)
    rack: str | None = attr.ib(default=None)


@target_factory.reg_resource
@attr.s(eq=False)
class NetworkKvnModule(NetworkResource):
    """The same on another host, which ssh reaches."""

    module: str = attr.ib(validator=attr.validators.instance_of(str))
    provider: str | None = attr.ib(default=None)
    rack: str | None = attr.ib(default=None)


@target_factory.reg_driver
@attr.s(eq=False)
class KvnModuleDriver(Driver):
    """Loads a module by the program kvn, and says what it is. Failures are those of kvn.errors."""

    bindings = {"resource": {"KvnModule", "NetworkKvnModule"}}

    def __attrs_post_init__(self) -> None:
        super().__attrs_post_init__()
        self.tool = (self.target.env and self.target.env.config.get_tool("kvn")) or "kvn"

    def _options(self) -> list[str]:
        given = {"--provider": self.resource.provider, "--rack": self.resource.rack}
        return [word for option, value in given.items() if value for word in (option, value)]

    def _document(self, command: list[str]) -> dict[str, Any]:
        done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
        try:
            document: dict[str, Any] = json.loads(done.stdout)
        except ValueError as error:
            raise error_class(6)(
                f"{shlex.join(command)} answered without a document, with status {done.returncode}",
                done.stderr.strip() or None, shlex.join([*self.resource.command_prefix, "kvn", "--version"]),
            ) from error
        if problem := document["error"]:
            raise self._failure(problem, document)
        return document

    @staticmethod
    def _failure(problem: dict[str, Any], document: dict[str, Any]) -> KvnError:
        record = from_document(Record, document) if document["kvn"] == "record" else None
        texts = (problem["what"], problem["why"], problem["remedy"])
        return error_class(problem["status"])(*texts, number=problem["number"], record=record)

    @Driver.check_active
    @step(args=["file"])
    def load(self, file: str) -> Record:
        """Loads a file of this host, wherever the module is.

        :raises kvn.KvnError: the class that fits the outcome, with number, what, why, remedy and record
        """
        command = [self.tool, "load", file, self.resource.module, "--json", "--progress", "none", *self._options()]
        if prefix := self.resource.command_prefix:
            command += ["--via", shlex.join(prefix)]
        return from_document(Record, self._document(command))

    @Driver.check_active
    @step(result=True)
    def identify(self) -> Identity | None:
        """What the module says of itself; None where the slot has none. Raises as load()."""
        prefix = self.resource.command_prefix
        words = ["list", self.resource.module, "--json", *self._options()]
        command = [*prefix, "kvn", *map(shlex.quote, words)] if prefix else [self.tool, *words]
        slot = self._document(command)["slots"][0]
        if slot["failure"]:
            raise self._failure(slot["failure"], {"kvn": "slot"})
        return from_document(Identity, slot["identity"]) if slot["identity"] else None
