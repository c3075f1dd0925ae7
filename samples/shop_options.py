"""The option definitions of the sample shop, with the values its INI files hold.

Each definition becomes a row of defaults.dbf and, unless its value is ABSENT, a line of TOVO.INI
(local sections) or TOVOGBL.INI (global sections). make_shop.py writes the files.
"""

from dataclasses import dataclass, field

TEXT, NUMBER, FLAG, CHOICE, PATH, PRINTER, REPORT, FONT, BUSINESS = range(9)

# The key does not stand in the INI file: the option has never been saved at this shop.
ABSENT = None


@dataclass
class Option:
    key: str
    type: int
    value: str
    default: str
    comment: str = ""
    choices: list = field(default_factory=list)
    minimum: int = 0
    maximum: int = 0
    decimals: int = 0
    link: str = ""


@dataclass
class Section:
    name: str
    local: bool
    options: list
    note: str = ""  # a comment line under the section header of the INI file


def text(key, value, default="", comment="", **more):
    return Option(key, TEXT, value, default, comment, **more)


def number(key, value, default, minimum, maximum, comment="", decimals=0, **more):
    return Option(key, NUMBER, value, default, comment, minimum=minimum, maximum=maximum,
                  decimals=decimals, **more)


def flag(key, value, default, comment="", **more):
    return Option(key, FLAG, value, default, comment, **more)


def choice(key, value, default, choices, comment="", **more):
    return Option(key, CHOICE, value, default, comment, choices=choices, **more)


def path(key, value, default="", comment="", **more):
    return Option(key, PATH, value, default, comment, **more)


def printer(key, value, comment=""):
    return Option(key, PRINTER, value, "", comment)


YES_NO_ASK = ["0|Never", "1|Always", "2|Ask each time"]

# Kept on each workstation, in TOVO.INI.
LOCAL_SECTIONS = [
    Section("Defaults", True, [
        path("DataPath", r"C:\SHOP\DATA", "", "Folder of the shop's data.\r\nEvery workstation of "
             "a site must name the same folder."),
        path("ProgramPath", r"C:\SHOP\PROGRAM", r"C:\TOVO", "Folder the programs are started from."),
        path("ScratchPath", r"C:\SHOP\SCRATCH", r"C:\TOVO\TEMP", "Folder for temporary files. It "
             "should be on this workstation's own disk, not on the server."),
        text("WorkstationName", "FRONT DESK 2", "", "Name shown in the 'who is signed on' list."),
        number("IdleMinutes", "20", "15", 0, 480,
               "Minutes without a key press before the user is signed off.\r\n0 = never."),
        flag("ConfirmExit", "True", "True", "Ask before the program is closed."),
    ], "DataPath is read by every program at its start"),
    Section("Companyname", True, [
        text("Name", "Lindqvist Auto Sound & Glass", "", "Shop name on every printed form."),
        text("Street", "1480 Harbour Road", "", "Street line on every printed form."),
        text("City", "Trois-Rivières", "", "City line on every printed form."),
        text("Phone", "(819) 555-0142", "", "Phone number on every printed form."),
        number("Location", "3", "1", 1, 99, "Number of this site. It selects the site's printers, "
               "document numbers and lists."),
    ], "Location: 3 = Harbour Road, 5 = Airport Plaza"),
    Section("Windows", True, [
        Option("ReportFont", FONT, "Arial", "Arial|9|0|0|0|0|0",
               "Font of all reports: name, size, italic, underline, strike through, bold and colour, "
               "separated by |."),
        choice("StartScreen", "WO", "MENU", ["MENU|Main menu", "WO|Work orders", "SCHED|Schedule",
               "POS|Counter sales"], "Screen shown after sign-on."),
        choice("ColourScheme", "2", "0", ["0|Standard", "1|High contrast", "2|Night", "3|Classic"],
               "Colours of all screens on this workstation."),
        number("ZoomPercent", "110", "100", 50, 200, "Size of all screens in percent."),
        flag("RememberPositions", "True", "True", "Open every window where it was closed last."),
        flag("ShowToolTips", "False", "True"),
        flag("LargeToolbar", ABSENT, "False", "Toolbar buttons with text below the picture."),
    ]),
    Section("InvoiceControl", True, [
        Option("InvoiceStyle", REPORT, "INV2", "INV1",
               "Layout of the printed invoice.\r\nThe layouts are the rows of the table REPORTS."),
        choice("deddtldsply", "1", "0", ["0|Total only", "1|Line by line"],
               "How a deductible is shown below the invoice total."),
        number("LeftMargin", "0.25", "0.25", 0, 3, "Left margin of the invoice in inches.", decimals=2),
        number("TopMargin", "0.50", "0.50", 0, 3, "Top margin of the invoice in inches.", decimals=2),
        flag("PrintLogo", "True", "True", "Print the shop's logo at the top of the invoice."),
    ]),
    Section("Printers", True, [
        printer("ReportDevice", "HP LaserJet 4100", "Printer of all reports on this workstation."),
        printer("Invoice", r"\\HARBOUR1\Counter Laser", "Printer of invoices at this site."),
        printer("WorkOrder", r"\\HARBOUR1\Bay Laser", "Printer of work orders at this site."),
        printer("Receipt", "Star TSP100", "Printer of counter receipts at this site."),
        printer("Label", "Zebra LP2844", "Printer of inventory labels at this site."),
        printer("Check", ABSENT, "Printer of checks at this site."),
        number("InvoiceCopies", "2", "1", 1, 9, "Copies of each invoice."),
        number("WorkOrderCopies", "1", "1", 1, 9, "Copies of each work order."),
        choice("PaperTray", "AUTO", "AUTO", ["AUTO", "UPPER", "LOWER", "MANUAL"],
               "Tray the invoice paper is taken from."),
    ], "one printer of each kind per site: the key ends in the site's number"),
    Section("CashDrawer", True, [
        flag("Connected", "True", "False", "A cash drawer is connected to this workstation."),
        choice("Port", "LPT1", "LPT1", ["LPT1", "LPT2", "COM1", "COM2", "USB|USB receipt printer"],
               "Port of the cash drawer or of the printer that opens it."),
        text("OpenCode", "27,112,0,25,250", "7", "Characters sent to open the drawer, as numbers "
             "separated by commas."),
        choice("OpenOn", "2", "1", ["0|Cash only", "1|Cash and check", "2|Every payment"],
               "Payments that open the drawer."),
        number("ReminderSeconds", "30", "30", 0, 300, "Seconds until an open drawer is announced."),
    ]),
    Section("Scanner", True, [
        flag("Connected", "1", "0", "A bar code reader is connected to this workstation."),
        choice("Symbology", "CODE39", "CODE39", ["CODE39|Code 39", "CODE128|Code 128", "UPC|UPC-A",
               "EAN|EAN-13"], "Bar code printed on labels and expected from the reader."),
        text("Prefix", "", "", "Characters the reader sends before each code."),
        text("Suffix", "13", "13", "Characters the reader sends after each code, as numbers."),
        flag("BeepOnError", "0", "1"),
    ]),
    Section("Fax", True, [
        choice("Method", "MAIL", "NONE", ["NONE|No fax", "MODEM|Own modem", "MAIL|Mail gateway"],
               "Way faxes leave this workstation."),
        text("DialPrefix", "9,", "", "Digits dialled for an outside line."),
        number("Retries", "3", "3", 0, 10, "Attempts before a fax is given up."),
        path("CoverPage", r"C:\SHOP\FORMS\COVER.RTF", "", "Cover page sent before each fax."),
    ]),
]

# Shared by every workstation of the company, in TOVOGBL.INI.
GLOBAL_SECTIONS = [
    Section("OPTIONS", False, [
        choice("KITCHOICE", "1", "0", ["0|All kit parts", "1|All but the universal kit",
               "2|Universal kit where a car has no other", "3|No kit parts"],
               "Parts of an installation kit that are put on a work order by default.\r\n"
               "Saving another choice rewrites the kit table, which may take a minute."),
        choice("LabourUnit", "0.1", "0.25", ["0.1|Tenths of an hour", "0.25|Quarters of an hour",
               "1|Whole hours"], "Step in which labour time is entered."),
        flag("UseVehicleLookup", "True", "True", "Fill in year, make and model from the vehicle "
             "identification number."),
        flag("RequireMileage", "True", "False", "Work orders need the mileage before they are "
             "printed."),
        flag("RequirePlate", "False", "False", "Work orders need the licence plate before they are "
             "printed."),
        number("QuoteValidDays", "30", "30", 1, 365, "Days a quotation is held."),
        number("WarrantyMonths", "24", "12", 0, 120, "Months of warranty on the shop's own labour."),
        choice("UnitSystem", "M", "E", ["E|Inches and miles", "M|Centimetres and kilometres"]),
        text("Country", "CA", "US", "Two-letter code of the country."),
    ], "read by every site; change only with all programs closed"),
    Section("WorkOrders", False, [
        choice("MAKEWOANDINVOICESAMENUMBER", "False", "False", ["False|Count separately",
               "True|Same number"], "Give the invoice the number of its work order.\r\n"
               "Saving another choice adjusts the site's counters."),
        number("PromiseHours", "4", "4", 0, 240, "Hours from drop-off to the promised time."),
        choice("PrintOnSave", "2", "2", YES_NO_ASK, "Print the work order when it is saved."),
        flag("ShowCost", "False", "False", "Show cost prices on the work order screen."),
        flag("TechnicianRequired", "True", "True", "A work order cannot be closed without a "
             "technician."),
        choice("DefaultStatus", "OPEN", "OPEN", ["OPEN|Open", "PARTS|Waiting for parts",
               "READY|Ready for pick-up", "HOLD|On hold"]),
        text("Terms1", "Estimates are free. Parts removed are discarded unless requested.", "",
             "First line below the signature."),
        text("Terms2", "Storage is charged from the third day after completion.", "",
             "Second line below the signature."),
        text("Terms3", ABSENT, "", "Third line below the signature."),
        number("ReminderDays", "3", "2", 0, 60, "Days before an open work order is listed as "
             "overdue."),
        flag("AllowReopen", "True", "True", "Closed work orders may be opened again by a manager."),
    ]),
    Section("Invoices", False, [
        choice("PrintOnSave", "1", "1", YES_NO_ASK, "Print the invoice when it is saved."),
        number("DueDays", "30", "30", 0, 180, "Days until an invoice on account is due."),
        number("FinanceCharge", "1.50", "1.50", 0, 10, "Finance charge on overdue invoices, percent "
             "per month.", decimals=2),
        number("MinimumCharge", "0.50", "0.50", 0, 100, "Finance charges below this amount are "
             "waived.", decimals=2),
        text("FooterText", "Merci et à bientôt - l'équipe Lindqvist", "Thank you!",
             "Last line of every invoice. Apostrophes and accents are printed as they are typed."),
        text("CurrencySign", "$", "$"),
        choice("RoundTotal", "5", "0", ["0|To the cent", "5|To five cents, cash only",
               "10|To ten cents, cash only"], "Rounding of the invoice total."),
        flag("ShowSavings", "True", "False", "Print what the customer saves against the list price."),
        flag("PrintBarcode", ABSENT, "False", "Print the invoice number as a bar code as well."),
        number("ArchiveMonths", "36", "24", 6, 240, "Months after which paid invoices are moved to "
             "the archive."),
        choice("NumberFormat", "P", "N", ["N|Number only", "P|Site prefix and number"]),
    ]),
    Section("Tax", False, [
        choice("Method", "2", "1", ["0|No tax", "1|One tax", "2|Two taxes, both on the net amount",
               "3|Two taxes, second on the first"], "How sales tax is worked out."),
        text("Name1", "TPS", "Sales tax", "Name of the first tax on printed forms."),
        number("Rate1", "5.000", "0.000", 0, 30, "First tax rate, percent.", decimals=3),
        text("Name2", "TVQ", "", "Name of the second tax on printed forms."),
        number("Rate2", "9.975", "0.000", 0, 30, "Second tax rate, percent.", decimals=3),
        flag("TaxLabour", "True", "False", "Labour is taxed."),
        flag("TaxShopSupplies", "True", "True", "Shop supplies are taxed."),
        text("Registration1", "R123 456 789", "", "Registration number of the first tax."),
        text("Registration2", "1020304050 TQ0001", "", "Registration number of the second tax."),
        number("ExemptReview", "12", "12", 0, 60, "Months after which a tax exemption must be "
             "confirmed."),
    ]),
    Section("ShopSupplies", False, [
        choice("Basis", "L", "L", ["N|No charge", "L|Percent of labour", "P|Percent of parts",
               "F|Fixed amount"], "What the shop supplies charge is worked out from."),
        number("Percent", "4.50", "5.00", 0, 25, "Shop supplies charge, percent.", decimals=2),
        number("Fixed", "0.00", "0.00", 0, 500, "Shop supplies charge, fixed amount.", decimals=2),
        number("Limit", "35.00", "35.00", 0, 1000, "Largest shop supplies charge.", decimals=2),
        text("PrintedName", "Shop supplies / fournitures d'atelier", "Shop supplies"),
    ]),
    Section("Inventory", False, [
        choice("CostMethod", "AVG", "AVG", ["AVG|Average cost", "LAST|Last cost", "FIFO|First in, "
               "first out"], "How the cost of a part sold is worked out."),
        flag("AllowNegative", "False", "False", "Parts may be sold that are not in stock."),
        number("ReorderDays", "14", "14", 1, 180, "Days of sales covered by a suggested order."),
        number("MarginPercent", "40.0", "35.0", -50, 95, "Margin suggested for a new part, percent. "
               "A negative margin sells below cost.", decimals=1),
        choice("PriceLevel", "B", "A", ["A|List", "B|Retail", "C|Trade", "D|Employee"],
               "Price level of a customer without one."),
        flag("SerialNumbers", "True", "True", "Ask for serial numbers of radios and amplifiers."),
        choice("LabelSize", "2x1", "2x1", ["1x1", "2x1", "3x1", "4x2"], "Label size in inches."),
        text("LabelLine", "%PART% %BIN%", "%PART%", "Second line of the label; words between % are "
             "filled in."),
        number("CountCycle", "90", "0", 0, 365, "Days between two counts of the same bin.\r\n"
               "0 = no cycle counts."),
        flag("ReceiveByScan", ABSENT, "False"),
        path("PriceFiles", r"C:\SHOP\DATA\PRICES", "", "Folder of the suppliers' price files."),
    ]),
    Section("Kits", False, [
        flag("ShowPictures", "True", "True", "Show the picture of an installation kit."),
        flag("SuggestHarness", "True", "True", "Suggest the wiring harness that fits the radio."),
        flag("SuggestAntenna", "False", "True", "Suggest the antenna adapter that fits the car."),
        text("PreferredBrand", "Norvik", "", "Kits of this brand are suggested first."),
        number("YearTolerance", "1", "0", 0, 5, "Kits of neighbouring model years are listed too."),
        path("PicturePath", r"C:\SHOP\DATA\KITPICS", "", "Folder of the kit pictures."),
    ]),
    Section("Payments", False, [
        choice("CardTerminal", "NONE", "NONE", ["NONE|No terminal", "SERIAL|Serial terminal",
               "IP|Network terminal"], "Card terminal at the counter."),
        text("TerminalAddress", ABSENT, "", "Address of the network terminal, as name:port."),
        number("CheckLimit", "250", "0", 0, 30000, "Checks above this amount need a manager.\r\n"
               "0 = no limit."),
        flag("AskForDeposit", "True", "False", "Ask for a deposit on special orders."),
        number("DepositPercent", "25", "20", 0, 100, "Deposit on special orders, percent."),
        choice("ReceiptCopies", "2", "1", ["1|Customer", "2|Customer and shop"]),
        text("DepositName", "Acompte", "Deposit", "Name of a deposit on printed forms."),
        flag("PrintSlip", "True", "True"),
    ]),
    Section("Customers", False, [
        Option("BusinessType", BUSINESS, "31", "30", "Business type given to a new customer.\r\n"
               "The list is kept per site."),
        choice("NameOrder", "F", "L", ["F|First name first", "L|Last name first"]),
        flag("DuplicateCheck", "True", "True", "Look for the same phone number before a customer is "
             "added."),
        choice("Greeting", "1", "0", ["0|None", "1|Birthday card", "2|Birthday and season's card"],
               "Mailings that are suggested."),
        text("AreaCode", "819", "", "Area code added to seven-digit phone numbers."),
        number("FollowUpDays", "10", "14", 0, 365, "Days after a job until the follow-up call."),
        number("CreditLimit", "500", "0", 0, 32000, "Credit limit of a new customer."),
        text("Language", "fr-CA", "en-US", "Language of letters to a customer without one."),
    ]),
    Section("Insurance", False, [
        Option("DefaultPayerType", BUSINESS, "34", "34",
               "Business type that marks a customer as an insurance company."),
        number("GlassDeductible", "100", "100", 0, 5000, "Deductible suggested for glass claims."),
        flag("ElectronicClaims", "True", "False", "Send claims to the clearing house every night."),
        text("ShopIdentifier", "LQ-00318-7", "", "Number of this shop at the clearing house."),
        choice("LabourRateSource", "NAGS", "OWN", ["OWN|Shop's own rate", "NAGS|Industry table",
               "PAYER|Agreed with the payer"]),
        number("GlassDiscount", "-12.5", "0.0", -60, 60, "Discount or surcharge on glass list prices, "
               "percent; a negative number is a discount.", decimals=1),
    ]),
    Section("Schedule", False, [
        text("OpensAt", "07:30", "08:00", "First appointment of a day, hours:minutes."),
        text("ClosesAt", "17:45", "17:00", "Last appointment of a day ends, hours:minutes."),
        choice("SlotMinutes", "30", "30", ["15", "20", "30", "60"], "Length of one slot."),
        number("Bays", "6", "4", 1, 60, "Bays that can be booked."),
        number("OverbookPercent", "10", "0", 0, 50, "Bookings accepted above the capacity, percent."),
        flag("SundayOpen", "False", "False"),
        choice("FirstDay", "1", "0", ["0|Sunday", "1|Monday"], "First day of the week."),
        flag("SendReminders", "True", "False", "Remind customers the day before."),
    ]),
    Section("Email", False, [
        text("Server", "mail.lindqvist-sound.example", "", "Server that sends the shop's mail."),
        number("Port", "587", "25", 1, 32767, "Port of the mail server."),
        text("Sender", "comptoir@lindqvist-sound.example", "", "Address the shop's mail comes from."),
        text("InvoiceSubject", "Votre facture n° %NUMBER%", "Your invoice %NUMBER%",
             "Subject of a mailed invoice."),
        choice("Attach", "PDF", "PDF", ["PDF|Document", "TXT|Plain text", "NONE|No attachment"]),
        flag("CopyToShop", "True", "False", "Keep a copy of each mail at the shop."),
        number("TimeoutSeconds", ABSENT, "60", 5, 600, "Seconds until a sending attempt ends."),
    ]),
    Section("Accounting", False, [
        choice("Export", "CSV", "NONE", ["NONE|No export", "CSV|Text with commas", "IIF|Ledger "
               "import", "XML"], "Form of the day's postings for the bookkeeping."),
        path("ExportPath", r"C:\SHOP\DATA\EXPORT", "", "Folder the postings are written to."),
        text("SalesAccount", "4000", "4000", "Account of parts sales."),
        text("LabourAccount", "4100", "4100", "Account of labour."),
        text("TaxAccount", "2310", "2300", "Account of sales tax owed."),
        choice("FiscalStart", "4", "1", [f"{n}" for n in range(1, 13)],
               "First month of the fiscal year."),
        flag("LockClosedDays", "True", "True", "Days already exported cannot be changed."),
    ]),
    Section("Backup", False, [
        choice("When", "CLOSE", "ASK", ["ASK|Ask at closing", "CLOSE|Always at closing", "NIGHT|By "
               "the night job", "NEVER"], "When the data folder is copied."),
        path("Target", r"\\HARBOUR1\BACKUP", "", "Folder the copies are kept in."),
        number("Generations", "7", "5", 1, 99, "Copies that are kept."),
        number("WarnDays", "3", "7", 1, 60, "Days without a copy before the user is warned."),
        flag("IncludePictures", "False", "True"),
        flag("VerifyCopy", ABSENT, "True", "Read each copy back. It takes twice the time."),
    ]),
    Section("Security", False, [
        number("PasswordLength", "6", "4", 0, 20, "Shortest password."),
        number("PasswordDays", "180", "0", 0, 999, "Days after which a password is changed.\r\n"
               "0 = never."),
        choice("PriceOverride", "M", "A", ["A|Anyone", "M|Managers", "N|Nobody"],
               "Who may change a price on an invoice."),
        flag("LogSignOns", "True", "True", "Keep a list of who signed on and when."),
        number("LockAfter", "5", "5", 0, 20, "Wrong passwords until a user is locked out."),
    ]),
]

SECTIONS = LOCAL_SECTIONS + GLOBAL_SECTIONS

# Definitions that were taken out of use: their rows are still in the table, marked deleted.
DELETED = [
    ("Fax", True, number("BaudRate", ABSENT, "9600", 300, 19200, "Speed of the fax modem.")),
    ("Kits", False, flag("UseOldKitBook", ABSENT, "False", "Kits from the printed book.")),
]
