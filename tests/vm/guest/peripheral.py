"""A Bluetooth LE peripheral: an advertisement, and a service with one characteristic, which holds what is written."""
import dbus
import dbus.service

SERVICE_UUID = "12345678-1234-5678-1234-56789abcdef0"
CHARACTERISTIC_UUID = "12345678-1234-5678-1234-56789abcdef1"
GATT_SERVICE, GATT_CHARACTERISTIC = "org.bluez.GattService1", "org.bluez.GattCharacteristic1"
OBJECT_MANAGER, PROPERTIES = "org.freedesktop.DBus.ObjectManager", "org.freedesktop.DBus.Properties"
GATT_MANAGER, ADVERTISING_MANAGER = "org.bluez.GattManager1", "org.bluez.LEAdvertisingManager1"


class Advertisement(dbus.service.Object):
    PATH = "/vm/advertisement"
    name = "vm"

    @dbus.service.method(PROPERTIES, "s", "a{sv}")
    def GetAll(self, _):
        uuids = dbus.Array([SERVICE_UUID], signature="s")
        return {"Type": "peripheral", "ServiceUUIDs": uuids, "LocalName": self.name}

    @dbus.service.method("org.bluez.LEAdvertisement1")
    def Release(self):
        pass


class Characteristic(dbus.service.Object):
    PATH = "/vm/application/service0/char0"
    value = dbus.ByteArray(b"")

    @dbus.service.method(GATT_CHARACTERISTIC, "a{sv}", "ay")
    def ReadValue(self, _):
        return self.value

    @dbus.service.method(GATT_CHARACTERISTIC, "aya{sv}")
    def WriteValue(self, value, _):
        self.value = dbus.ByteArray(bytes(value))


class Application(dbus.service.Object):
    PATH = "/vm/application"

    @dbus.service.method(OBJECT_MANAGER, out_signature="a{oa{sa{sv}}}")
    def GetManagedObjects(self):
        service = dbus.ObjectPath(f"{self.PATH}/service0")
        flags = dbus.Array(["read", "write"], signature="s")
        return {
            service: {GATT_SERVICE: {"UUID": SERVICE_UUID, "Primary": True}},
            dbus.ObjectPath(Characteristic.PATH): {
                GATT_CHARACTERISTIC: {"UUID": CHARACTERISTIC_UUID, "Service": service, "Flags": flags}
            },
        }


class Peripheral:
    """What the adapter with this path has to offer, until the end of the block."""

    def __init__(self, bluez, adapter):
        self._bluez, self._adapter = bluez, adapter

    def __enter__(self):
        self._objects = [kind(self._bluez.bus, kind.PATH) for kind in (Advertisement, Application, Characteristic)]
        return self

    def __exit__(self, *_):
        self.withdraw()
        self._call(GATT_MANAGER, "UnregisterApplication", "o", Application.PATH)
        for thing in self._objects:
            thing.remove_from_connection()

    def _call(self, interface, method, signature, *arguments):
        return self._bluez.call(self._adapter, interface, method, signature, *arguments)

    @property
    def value(self):
        return self._objects[2].value

    def advertise(self, name="vm"):
        self._objects[0].name = name
        return self._call(ADVERTISING_MANAGER, "RegisterAdvertisement", "oa{sv}", Advertisement.PATH, {})

    def withdraw(self):
        return self._call(ADVERTISING_MANAGER, "UnregisterAdvertisement", "o", Advertisement.PATH)

    def serve(self):
        return self._call(GATT_MANAGER, "RegisterApplication", "oa{sv}", Application.PATH, {})
