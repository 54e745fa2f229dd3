"""What the two users do, so that everything the program can show is seen once. A story leaves the world as the next one
wants it: all programs running, all popovers shown, no fault."""
from album import MAIN_WINDOW, SCHEMES

DEVICES = ("Magic Keyboard", "Magic Mouse", "Magic Trackpad")
CHECK_BOX = "check box"
HOT_KEY_IS_TAKEN = "Another program"

# Where they are in the popover, in pixels at scale 1.
HOT_KEY_BADGE = 90, 28
HOT_KEY_ROW = 120, 320
SWITCH_LIMIT = 110  # seconds; a switch that fails tries everything first

# What a first start does not have yet.
FORGOTTEN = ("managedDeviceAddresses", "deviceNames", "networkDevices", "didOpenAtFirstStart")


def set_up(world, album, program, logs):
    """A first start on Laptop, which is set up"""
    studio, laptop = world.computers["Studio"], world.computers["Laptop"]
    studio.start_zolvex(program, str(logs / "studio.log"), ())
    laptop.start_zolvex(program, str(logs / "laptop.log"), FORGOTTEN)
    laptop.wait_for_window(MAIN_WINDOW)
    laptop.see(DEVICES[0])
    laptop.see("1 Mac found")
    album.take(laptop, "setup-devices")
    for device in DEVICES:
        laptop.press(device, CHECK_BOX)
    laptop.see("3 devices selected")
    laptop.press("Save")  # opens what is missing
    laptop.see("Add")
    album.take(laptop, "setup-peer")
    laptop.press("Back")
    laptop.press("Switch to Me")
    laptop.see("Set up your devices")
    album.take(laptop, "unknown")
    laptop.press("Settings")
    laptop.press("Devices")
    for device in DEVICES:
        laptop.press(device, CHECK_BOX)
    laptop.press("Peer Mac")
    laptop.press("Add")
    laptop.see("Remove")
    laptop.press("Save")
    laptop.see("Switch to Me")


def settings(world, album, _program, _logs):
    """The settings of Laptop, page by page"""
    studio, laptop = world.computers["Studio"], world.computers["Laptop"]
    studio.open()  # what it hears of the other one is shown until the popover is opened anew
    laptop.press("Quick Connect")
    studio.see("Other Mac has zolvex", SWITCH_LIMIT)
    laptop.see("This Mac has zolvex", SWITCH_LIMIT)
    laptop.see("Peer reachable")
    album.take(laptop, "this-mac")
    laptop.rest_on(*HOT_KEY_BADGE)
    album.take(laptop, "tooltip")
    laptop.point_elsewhere()
    laptop.press("Settings")
    laptop.see("Save")
    laptop.press("Devices")
    laptop.see(DEVICES[0])
    album.take(laptop, "settings-devices")
    laptop.press("Peer Mac")
    laptop.see("Remove")
    album.take(laptop, "settings-peer")
    laptop.press("Remove")
    laptop.see("Remove Peer Mac?")
    album.take(laptop, "settings-remove-peer")
    laptop.press("Cancel")
    laptop.press("Preferences")
    laptop.see("Launch at login")
    laptop.press("Auto release", CHECK_BOX)
    laptop.press("Auto-switch", CHECK_BOX)
    album.take(laptop, "settings-preferences")
    laptop.press("Uninstall")
    laptop.see("Uninstall Zolvex?")
    album.take(laptop, "settings-uninstall")
    laptop.press("Cancel")
    laptop.press("Auto release", CHECK_BOX)
    laptop.press("Auto-switch", CHECK_BOX)
    hot_key_taken(laptop, album)
    laptop.press("Back")


def hot_key_taken(computer, album):
    """The row of the hot key, on the page that is shown, says why it does nothing."""
    computer.press("Global hotkey", CHECK_BOX)
    computer.take_hot_key(True)
    computer.press("Global hotkey", CHECK_BOX)
    computer.see(HOT_KEY_IS_TAKEN)
    computer.rest_on(*HOT_KEY_ROW)
    album.take(computer, "settings-hot-key-taken")
    computer.point_elsewhere()
    computer.press("Global hotkey", CHECK_BOX)
    computer.take_hot_key(False)
    computer.press("Global hotkey", CHECK_BOX)


def about(world, album, _program, _logs):
    """What it says about itself"""
    laptop = world.computers["Laptop"]
    laptop.press("About")
    laptop.see("Help Center")
    album.take(laptop, "about")
    laptop.press("Acknowledgements")
    album.take(laptop, "acknowledgements", "Acknowledgements")
    laptop.close("Acknowledgements")
    laptop.open()
    laptop.press("Back")
    laptop.see("Release")


def take_all(here, there):
    """Waits for all devices. The first one ends the switch; the program looks again when it is opened."""
    here.see("Connected", SWITCH_LIMIT, len(DEVICES))
    there.see("Other Mac has zolvex")
    here.reopen()
    here.see("This Mac has zolvex")


def switch(world, album, _program, _logs):
    """A switch from Laptop to Studio, as both users see it"""
    studio, laptop = both = world.computers["Studio"], world.computers["Laptop"]
    for scheme in SCHEMES:
        studio.see("Other Mac has zolvex")
        studio.see("Peer reachable")
        laptop.see("Peer reachable")
        album.take_for_strip("before", both, scheme)
        world.fault(*(f"slow:{device}@Laptop" for device in DEVICES))
        for computer in both:
            computer.remember_icon()
        studio.press("Switch to Me")
        for computer in both:
            computer.see_another_icon()
        album.take_for_strip("during", both, scheme)
        album.take(laptop, "releasing", schemes=[scheme])
        album.take(studio, "taking", schemes=[scheme])
        laptop.see("Letting go")
        studio.see("Taking zolvex")
        for computer in both:
            computer.remember_icon()
        world.lift()
        take_all(studio, laptop)
        for computer in both:
            computer.see_another_icon()
        album.take_for_strip("after", both, scheme)
        laptop.press("Switch to Me")
        take_all(laptop, studio)
    album.take(studio, "other-mac")


def misfortune(world, album, _program, _logs):
    """A mouse that is switched off, then everything"""
    studio = world.computers["Studio"]
    world.fault("asleep:Magic Mouse")
    studio.press("Switch to Me")
    studio.see("Partly on this Mac", SWITCH_LIMIT)
    studio.see("Connected", SWITCH_LIMIT, len(DEVICES) - 1)
    album.take(studio, "partly")
    world.lift()
    studio.press("Release")
    studio.see("Ready to switch", SWITCH_LIMIT)
    album.take(studio, "released")
    world.fault("asleep")
    studio.press("Quick Connect")
    studio.see("Needs a nudge", SWITCH_LIMIT)
    album.take(studio, "failed")
    world.lift()
    studio.press("Settings")
    studio.press("Devices")
    studio.see("No paired Bluetooth devices found")
    album.take(studio, "settings-nothing-paired")


def panel_menu(world, album, _program, _logs):
    """A panel that shows a menu"""
    laptop = world.computers["Laptop"]
    laptop.close(MAIN_WINDOW)
    album.take_menu(laptop, "menu")
    laptop.open()


STORIES = (set_up, settings, about, switch, misfortune, panel_menu)
