"""The KNX device's object-model library for scripts.

DPT encoding and decoding exactly as the device does it, the DPT table,
object-model ids, the app host configuration, ETS group address lists and
projects, bus logs and a live knxd. Refusals raise ConversionError with the
library's own message; the library's log entries go to the logging logger
"zelobjectmodel".
"""

import datetime
from typing import Any, Dict, Iterable, Iterator, List, Optional, Tuple, Union

Dpt = Union[str, Tuple[int, int], int]
"""'9.001', '9.1', '9', 'DPST-9-1', 'DPT-9', 'DPT_Value_Temp', (9, 1) or 589825."""

Value = Union[None, bool, int, float, str, datetime.date, datetime.time, datetime.datetime, "TimeOfDay"]
Address = Union[str, int]
"""'1/2/3', '1/234' or the number 0..65535."""

class ConversionError(ValueError):
    """The library refused; the message is the text of its ERROR entry where it wrote one."""

class ConfigWarning(UserWarning):
    """A log entry of the library while it loaded the configuration."""

class TimeOfDay:
    """A time of day with an optional weekday (DPT 10.001)."""

    def __init__(self, time: datetime.time, weekday: Optional[int] = None) -> None: ...
    @property
    def time(self) -> datetime.time: ...
    @property
    def weekday(self) -> Optional[int]:
        """1 (Monday) .. 7 (Sunday), or None."""
    def __eq__(self, other: object) -> bool: ...
    def __hash__(self) -> int: ...

def decode(dpt: Dpt, payload: bytes, *, table: bool = False, bits: Optional[int] = None) -> Value:
    """The value the library decodes from the payload for the DPT.

    table: through the DPT table instead of by DPT code. bits: the group
    value's size (default: one octet of a DPT of at most 6 bits is the
    6-bit short form, else 8 bits per octet). None is the no-value that the
    table gives for invalid data. Raises ConversionError.
    """

def decode_many(dpt: Dpt, payloads: Iterable[bytes], *, table: bool = False) -> List[Value]:
    """decode() of every payload for one DPT."""

def encode(dpt: Dpt, value: Value, *, table: bool = False) -> bytes:
    """The payload the library encodes from the value for the DPT.

    A str is the zelknx text form of a value ('Mon 08:30:00', '2024-03-15').
    ValueError when the value does not fit the DPT's value type;
    ConversionError when the library refuses it.
    """

def dpt_info(dpt: Dpt) -> Dict[str, Any]:
    """The DPT table's row: dpt, bits, type, subtype, converter, range,
    omType, omDefault, name, unit (and encoded for a scaled DPT)."""

def dpts() -> List[Dict[str, Any]]:
    """Every row of the DPT table."""

def co_ids(co: int, ld: int = 1) -> Dict[str, Any]:
    """co, ld, channel, value of a communication object."""

def parameter_ids(type: str, number: int, ld: int = 1) -> Dict[str, Any]:
    """parameterType, parameter, ld, channel, value of an 'ip', 'number' or 'text' parameter."""

def ld_ids(ld: int = 1) -> Dict[str, Any]:
    """The ids of a logical device and its app control."""

def describe_id(id: int) -> Dict[str, Any]:
    """What an object-model id is: id, ld, co, parameterType, parameter, kind."""

def load_config(path: str = "/opt/userdata/etc/zelapphost/zelapphostconfig.xml") -> Dict[str, Any]:
    """The app host configuration's options; the library's entries as ConfigWarning."""

def set_log_level(level: Union[int, str]) -> None:
    """What the library writes to the logger 'zelobjectmodel' (default ERROR)."""

def log_level() -> int:
    """The library's log level as a logging level."""

class GroupAddresses:
    """A group address list; entries are dicts with address, name and dpt."""

    @staticmethod
    def from_csv(path: str) -> "GroupAddresses": ...
    @staticmethod
    def from_project(path: str, password: Optional[str] = None) -> "GroupAddresses": ...
    @property
    def source(self) -> str: ...
    def __len__(self) -> int: ...
    def __contains__(self, address: Address) -> bool: ...
    def __getitem__(self, address: Address) -> Dict[str, Any]: ...
    def __iter__(self) -> Iterator[Dict[str, Any]]: ...

def telegrams(
    lines: Iterable[str], addresses: Optional[GroupAddresses] = None, *, table: bool = False
) -> Iterator[Dict[str, Any]]:
    """The decoded telegrams of log lines, as `zelknx decode -` gives them."""

class Monitor:
    """The group telegrams of a running knxd, live; close() ends it from any thread."""

    def __init__(
        self, url: str = "local:/run/knx", addresses: Optional[GroupAddresses] = None, *, table: bool = False
    ) -> None: ...
    def __iter__(self) -> Iterator[Dict[str, Any]]: ...
    def __next__(self) -> Dict[str, Any]: ...
    def receive(self, timeout: Optional[float] = None) -> Optional[Dict[str, Any]]:
        """The next telegram, or None after timeout seconds or once closed."""
    def close(self) -> None: ...
    @property
    def closed(self) -> bool: ...
    def __enter__(self) -> "Monitor": ...
    def __exit__(self, *args: object) -> None: ...
